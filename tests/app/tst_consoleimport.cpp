// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/consolerig.h"

#include <QListWidget>
#include <QTableWidget>

namespace {

QString sample(const char* name)
{
    return QStringLiteral(XCU_TEST_DATA_DIR "/") + QLatin1String(name);
}

} // namespace

class ConsoleImportTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ConsoleHome> home;
    std::unique_ptr<ConsoleRig> console;

    void open(const QString& path) { console->open(path); }

    QTableWidget* table() { return console->child<QTableWidget>("canTraceFrames"); }
    QString cell(int row, int column) { return table()->item(row, column)->text(); }

    // As an operator's editor does: the item comes into being with the text.
    void type(int column, const QString& text)
    {
        table()->model()->setData(table()->model()->index(0, column), text);
    }

private slots:
    void init()
    {
        home = std::make_unique<ConsoleHome>();
        console = std::make_unique<ConsoleRig>();
    }

    void cleanup()
    {
        console.reset();
        home.reset();
    }

    // The handbook's test opens a file of each kind and knows all their status texts.
    void aBlackboxIsDrawnAndConverted()
    {
        const auto listed = [this] { return console->child<QListWidget>("canFrameIds")->count(); };
        open(home->write("a.RBX", "")); // is read as a log
        QCOMPARE(console->status(), QString());
        open(sample("drive.rbx"));
        const QString converted = home->root().entryList({"canbb-*.candump"}).value(0);
        QVERIFY(contents(converted).endsWith("can2 456#ff\n"));
        QCOMPARE(console->channelBox(2)->text(), "Out0");
        // Controller time, while a session that follows counts from the record.
        const QCPGraph* points = console->plot()->graph(0);
        QCOMPARE(points->dataMainKey(0), 5.0);
        console->window.loggerDataReceived(2, 6000, {7});
        QCOMPARE(points->dataMainKey(0), 1.0);
        // Identifiers of a record without log lines wait for the next import.
        const int before = listed();
        open(home->write("a.rbx", "\x12\x02\x28\x09"));
        QVERIFY(console->status().endsWith(". 0 log points (0 IN/0 OUT), 1 canbus frames, 1"));
        QCOMPARE(listed(), before);
        open(sample("session.log"));
        QCOMPARE(listed(), before + 1);
    }

    void identifiersAreListedOnceByTheirText()
    {
        const QString trace = home->write(
            "a.log.candump", // the end of the name counts
            "(1.0) can0 7ff#00\n(1.1) can0 18daf110#00\n(1.2) can0 012#00\n");
        for (int round = 0; round < 2; ++round) {
            open(trace);
            QCOMPARE(console->status(), "Read candump file. 3 canbus frames");
            QStringList texts;
            for (const auto* item :
                 console->child<QListWidget>("canFrameIds")->findItems("*", Qt::MatchWildcard)) {
                texts.append(item->text());
            }
            QCOMPARE(texts, QStringList({"0x012", "0x18daf110", "0x7ff"}));
        }
    }

    void aLogComesBackIntoStripChartAndTags()
    {
        console->channelBox(0)->click();
        open(sample("session.log"));
        QCOMPARE(console->channelBox(0)->text(), "Oil pressure (ADC3)");
        QCOMPARE(console->channelBox(0)->checkState(), Qt::Unchecked); // as it was
        QVERIFY(!console->channelBox(0)->isHidden());
        QVERIFY(console->channelBox(1)->isHidden()); // "x"
        QCOMPARE(home->stored("ui/channels/1/selected"), QVariant(false));
        QCOMPARE(home->stored("ui/channels/2/selected"), QVariant(true));
        QVERIFY(!console->plot()->graph(1)->visible());
        const int points = console->plot()->graph(0)->dataCount();
        QVERIFY(points > 1);
        QCOMPARE(console->plot()->graph(0)->dataMainKey(0), 0.0);
        const int tags = (console->plot()->itemCount() - 1) / 3; // behind the logo
        QVERIFY(tags > 0);
        // Nothing is cleared, and the time goes on from the first file's origin.
        const QString later = home->write("later.log", "7;6000;7;\n$;6500;Later\n8;7000;8;\n");
        open(later);
        open(later);
        QCOMPARE(console->plot()->graph(0)->dataCount(), points + 4);
        QCOMPARE(console->plot()->graph(0)->dataMainKey(points + 3), 2.0);
        QCOMPARE(console->plot()->itemCount(), 1 + 3 * (tags + 2));
        const auto* tag = console->plot()->item(console->plot()->itemCount() - 3);
        QCOMPARE(qobject_cast<const QCPItemTracer*>(tag)->position->key(), 1.5);
        // The label line of the next session is the log's.
        console->window.loggerStarted();
        const QByteArray header = contents(home->files("*.log").value(0));
        QVERIFY(header.startsWith("#;timestamp;Oil pressure (ADC3);x;"));
    }

    // The time origin is that of the first moment that is not -1, and stays.
    void timesCountFromTheFirstMoment()
    {
        const QList<std::tuple<int, QByteArray, QString>> rows = {
            {-1, "1;100;7;\n2;1100;8;\n", "(0,7)(1,8)"},
            {-1, "$;100;a\n1;200;7\n", "(0.10000000149011612,7)"},
            {-1, "1;-1;1\n2;5;2", "(0,1)(0,2)"},
            {-2, "1;2;1", "(0.0040000001899898052,1)"},
            {1000, "1;4294967295;1", "(-1,1)"}, // reads 0
            {2147483647, "1;-2147483648;1", "(0.0010000000474974513,1)"},
            {0, "1;16777217;1", "(16777.216796875,1)"},
            {0, "1;3000;3\n1;1000;1\n", "(1,1)(3,3)"},
        };
        for (const auto& [origin, content, expected] : rows) {
            console = std::make_unique<ConsoleRig>();
            if (origin != -1) {
                console->window.loggerDataReceived(0, static_cast<unsigned>(origin), {});
            }
            open(home->write("a.log", content));
            QString points;
            const QCPGraph* curve = console->plot()->graph(0);
            for (int i = 0; i < curve->dataCount(); ++i) {
                points += QString("(%1,%2)")
                              .arg(curve->dataMainKey(i), 0, 'g', 17)
                              .arg(curve->dataMainValue(i));
            }
            QCOMPARE(points, expected);
        }
    }

    // Whatever happens while a file is read, the file is read as it stands.
    void whileAFileIsRead()
    {
        QByteArray content;
        for (int i = 0; i < 100'000; ++i) {
            content += QByteArray::number(i) + " 2 7 Rx d 1 ff\n";
        }
        const QString trace = home->write("long.asc", content);
        const QString text = "Read candump file. 100000 canbus frames";
        int running = 0; // how often something came in the midst
        const auto inTheMidst = [&](const std::function<void()>& work) {
            return [&, work] {
                running += console->child<QListWidget>("canFrameIds")->count() == 0 ? 1 : 0;
                work();
            };
        };
        console->open(trace, inTheMidst([&] {
                          console->child<QAction>("actionOpen_with_Timestamp")->trigger();
                          console->window.candumpStart();
                          console->window.candump(1, 1, 2, false, false, false, "first");
                          console->window.close();
                      }));
        QCOMPARE(running, 1);
        QCOMPARE(console->status(), text); // of one reading
        console->window.candump(1, 1, 3, false, false, false, "then");
        const QByteArray converted = contents(home->root().entryList({"asc-*.candump"}).value(0));
        QCOMPARE(converted.count('\n'), 100'001);
        QVERIFY(converted.endsWith("can2   7#ff\n(0.001000) can1 003#7468656e\n"));
        QCOMPARE(
            contents(home->files("can-*.candump").value(0)), "(0.001000) can1 002#6669727374\n");

        // A program that is told to quit reads to the end first.
        console = std::make_unique<ConsoleRig>();
        QTimer::singleShot(0, &console->window, [&] {
            console->open(trace, inTheMidst([] { QApplication::quit(); }));
        });
        QApplication::exec();
        QCOMPARE(running, 2);
        QCOMPARE(console->status(), text);
    }

    void aTypedSignalBecomesACurve()
    {
        open(sample("drive.candump"));
        console->click("addCanTrace");
        QCOMPARE(console->plot()->graph(128)->pen().color(), QColor(100, 164, 156));
        QCOMPARE(console->plot()->graph(128)->name(), "Graph 129");
        const QStringList texts = {"123", "0", "8", "0.123456789", "0.0", "1"};
        for (int column = 0; column < texts.size(); ++column) {
            type(column, texts[column]);
        }
        QCOMPARE(console->status(), "row: 0, col: 5, val: 1");
        QCOMPARE(cell(0, 0), "123"); // as typed
        QCOMPARE(cell(0, 4), "0");   // it is the stored value
        const QCPGraph* curve = console->plot()->graph(128);
        QCOMPARE(curve->dataMainValue(0), 0.123456789);
        // A typing error brings back a shorter text, and leaves the value as it is.
        type(3, "?");
        QCOMPARE(cell(0, 3), "0.123457");
        QCOMPARE(console->status(), "row: 0, col: 3, val: 0.123457");
        type(5, "3");
        QCOMPARE(curve->dataMainValue(0), 0.123456789);
        type(1, "505"); // no place for it in a frame: the curve stays as it was
        QCOMPARE(curve->dataCount(), 3);
        type(1, "0");
        type(5, "0");
        QCOMPARE(curve->dataCount(), 0);
    }

    void setsAreSavedAndLoadedBehindTheRowsThatAreThere()
    {
        const QByteArray line = "0x123;8;16;0.123457;0;1;0;0;0x1f;-1;Oil %1;%12\r\n";
        const QString set =
            home->write("set.csv", "0x123;8;16;0.12345678;0;1;0;0;0x1f;-1;Oil %1\n");
        open(sample("drive.candump"));
        for (int row = 0; row < 2; ++row) {
            withFile(set, [this] { console->click("loadCanSignals"); });
            QCOMPARE(table()->rowCount(), row + 1);
            QCOMPARE(cell(row, 8), "0x1f"); // loaded as "1f", and written anew at once
            QCOMPARE(cell(row, 10), "Oil %1");
        }
        QCOMPARE(console->plot()->graph(128)->dataCount(), 0);
        const QString saved = home->root().filePath("saved.csv");
        withFile(saved, [this] { console->click("saveCanSignals"); });
        QCOMPARE(contents(saved), line + line);
        // A loaded signal draws when "Show" changes, with all digits, whatever its cell says.
        type(9, "3");
        QCOMPARE(console->plot()->graph(128)->dataCount(), 0);
        type(5, "0");
        type(5, "1");
        QCOMPARE(console->plot()->graph(128)->dataMainValue(0), 0xaa02 * 0.12345678);
    }
};

QTEST_MAIN(ConsoleImportTest)
#include "tst_consoleimport.moc"
