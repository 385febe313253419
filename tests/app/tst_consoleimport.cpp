// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/consolerig.h"

const QString samples = QStringLiteral(XCU_TEST_DATA_DIR "/");

struct ImportingConsole : ConsoleHome, ConsoleRig
{
    QTableWidget* table() { return child<QTableWidget>("canTraceFrames"); }
    QString cell(int row, int column) { return table()->item(row, column)->text(); }

    // As an operator's editor does: the item comes into being with the text.
    void type(int column, const QString& text, int row = 0)
    {
        table()->model()->setData(table()->model()->index(row, column), text);
    }

    QString identifiers()
    {
        QStringList texts;
        const auto* list = child<QListWidget>("canFrameIds");
        for (int row = 0; row < list->count(); ++row) {
            texts << list->item(row)->text();
        }
        return texts.join(' ');
    }
};

class ConsoleImportTest : public QObject
{
    Q_OBJECT

private slots:
    // The handbook's test opens a file of each kind and knows all their status texts.
    void aBlackboxIsDrawnAndConverted()
    {
        ImportingConsole console;
        console.open(console.write("a.RBX", "")); // is read as a log
        QCOMPARE(console.status(), QString());
        console.open(console.write("empty.rbx", "")); // at its end
        QVERIFY(console.status().endsWith(". 0 log points (0 IN/0 OUT), 0 canbus frames, 1"));
        console.open(samples + "drive.rbx");
        const QString converted = console.root().entryList({"canbb-*.candump"}).last();
        QVERIFY(contents(converted).endsWith("can2 456#ff\n"));
        QCOMPARE(console.channelBox(1)->text(), "In1");
        QCOMPARE(console.channelBox(2)->text(), "Out0");
        // Controller time, while a session that follows counts from the record.
        QVERIFY(console.points(1).startsWith("(5,0)(5.0100002"));
        console.window.loggerDataReceived(2, 6000, {7});
        QCOMPARE(console.plot()->graph(0)->dataMainKey(0), 1.0);
        // Identifiers of a record without log lines wait for the next import.
        const QString drive = "0x00a 0x123 0x456 0x7ff";
        QCOMPARE(console.identifiers(), drive);
        console.open(console.write("a.rbx", "\x12\x02\x28\x09"));
        QVERIFY(console.status().endsWith(". 0 log points (0 IN/0 OUT), 1 canbus frames, 1"));
        QCOMPARE(console.identifiers(), drive);
        // The end of the name counts. Texts are listed once, in their own order.
        console.open(console.write("a.log.candump", "(1.0) can0 7ff#00\n(1.1) can0 18daf110#\n"));
        QCOMPARE(console.status(), "Read candump file. 2 canbus frames");
        QCOMPARE(console.identifiers(), "0x009 0x00a 0x123 0x18daf110 0x456 0x7ff");
    }

    void aLogComesBackIntoStripChartAndTags()
    {
        ImportingConsole console;
        console.channelBox(0)->click();
        console.open(samples + "session.log");
        QCOMPARE(console.channelBox(0)->text(), "Oil pressure (ADC3)");
        QCOMPARE(console.channelBox(0)->checkState(), Qt::Unchecked); // as it was
        QVERIFY(!console.channelBox(0)->isHidden());
        QVERIFY(console.channelBox(1)->isHidden()); // "x"
        QCOMPARE(console.stored("ui/channels/1/selected"), QVariant(false));
        QCOMPARE(console.stored("ui/channels/2/selected"), QVariant(true));
        QVERIFY(!console.plot()->graph(1)->visible());
        const int tags = console.plot()->itemCount();
        // Nothing is cleared, and the time goes on from the first file's origin.
        console.open(console.write("later.log", "7;6000;7;\n$;6500;Later\n8;7000;8;\n"));
        QVERIFY(console.points(0).startsWith("(0,812)"));
        QVERIFY(console.points(0).endsWith("(1,7)(2,8)"));
        QCOMPARE(console.plot()->itemCount(), tags + 3);
        const auto* tag = qobject_cast<const QCPItemTracer*>(console.plot()->item(tags));
        QCOMPARE(tag->position->key(), 1.5);
        // The label line of the next session is the log's.
        console.window.loggerStarted();
        const QByteArray header = contents(console.files("*.log").value(0));
        QVERIFY(header.startsWith("#;timestamp;Oil pressure (ADC3);x;"));
    }

    // The time origin is that of the first moment that is not -1, and stays.
    void timesCountFromTheFirstMoment()
    {
        const QList<std::tuple<int, QByteArray, QString>> rows = {
            {-1, "$;100;a\n1;200;7\n", "(0.10000000149,7)"},
            {-1, "1;-1;1\n2;5;2", "(0,1)(0,2)"},
            {1000, "1;4294967295;1", "(-1,1)"}, // reads 0
            {2147483647, "1;-2147483648;1", "(0.0010000000475,1)"},
            {0, "1;16777217;1", "(16777.2167969,1)"},
            {0, "1;3000;3\n1;1000;1\n", "(1,1)(3,3)"},
        };
        for (const auto& [origin, content, expected] : rows) {
            ImportingConsole console;
            if (origin != -1) {
                console.window.loggerDataReceived(0, static_cast<unsigned>(origin), {});
            }
            console.open(console.write("a.log", content));
            QCOMPARE(console.points(0), expected);
        }
    }

    // Whatever happens while a file is read, the file is read as it stands.
    void whileAFileIsRead()
    {
        ImportingConsole console;
        QByteArray content;
        for (int i = 0; i < 100'000; ++i) {
            content += QByteArray::number(i) + " 2 7 Rx d 1 ff\n";
        }
        const QString trace = console.write("long.asc", content);
        const QString text = "Read candump file. 100000 canbus frames";
        console.window.candumpStart();
        console.open(trace, [&] {
            QVERIFY(console.identifiers().isEmpty()); // in the midst
            console.child<QAction>("actionOpen_with_Timestamp")->trigger();
            console.click("loadCanSignals");
            console.window.candump(1, 1, 2, false, false, false, "first");
            console.window.close();
        });
        QCOMPARE(console.status(), text); // of one reading
        console.window.candump(1, 1, 3, false, false, false, "then");
        const QByteArray converted = contents(console.root().entryList({"asc-*.candump"}).value(0));
        QCOMPARE(converted.count('\n'), 100'001);
        QVERIFY(converted.endsWith("can2   7#ff\n(0.001000) can1 003#7468656e\n"));
        const QString capture = console.files("can-*.candump").value(0);
        QCOMPARE(contents(capture), "(0.001000) can1 002#6669727374\n");
        // A capture that begins meanwhile keeps its file.
        console.open(trace, [&] { console.window.candumpStart(); });
        console.window.candump(1, 1, 4, false, false, false, "own");
        const QString own = console.files("can-*.candump").last();
        QCOMPARE(contents(own), "(0.001000) can1 004#6f776e\n");
        // So does one where no conversion can be written.
        const QString gone = console.root().filePath("gone");
        QVERIFY(QDir().mkdir(gone) && QDir::setCurrent(gone) && QDir().rmdir(gone));
        console.open(console.write("short.asc", "0 2 7 Rx d 1 ff\n"));
        console.window.candump(1, 2, 5, false, false, false, "");
        QCOMPARE(contents(own), "(0.001000) can1 004#6f776e\n(0.002000) can1 005#\n");
        QVERIFY(QDir::setCurrent(console.root().path()));

        // A program that is told to quit reads to the end first.
        ConsoleRig quitting;
        QTimer::singleShot(0, [&] { quitting.open(trace, [] { QApplication::quit(); }); });
        QApplication::exec();
        QCOMPARE(quitting.status(), text);
    }

    // Time base and status text of a record come first: sessions go on while its frames are read.
    void aRecordAmongTheFrames()
    {
        ImportingConsole console;
        QByteArray content("\x0a\x06\x0a\x01\x07\x18\x88\x27"); // a record at 5000 ms
        content += QByteArray("\x12\x03\x18\x88\x27").repeated(100'000);
        QTimer turns;
        int converted = -1;
        connect(&turns, &QTimer::timeout, &console.window, [&] {
            if (converted < 0 && console.status().startsWith("Read log file.")) {
                const QStringList files = console.root().entryList({"canbb-*.candump"});
                converted = contents(files.value(0)).count('\n');
                console.window.loggerDataReceived(2, 6000, {9});
            }
        });
        turns.start(0);
        console.open(console.write("long.rbx", content));
        QVERIFY(converted >= 0 && converted < 100'000);
        QCOMPARE(console.points(0), "(1,9)(5,7)");
    }

    // A log gets the tags of another one that is opened, as long as it is the one of the session.
    void tagsOfOpenedLogs()
    {
        ImportingConsole console;
        const QString tags = console.write("tags.log", QByteArray("$;9;theirs\n").repeated(500));
        console.open(tags, [&] { console.window.loggerStarted(); });
        const QString log = console.files("*.log").value(0);
        QCOMPARE(contents(log).count('\n'), 1);
        console.window.addTag("ours");
        console.open(tags);
        const QByteArray content = contents(log);
        QCOMPARE(content.count("\n$;9;theirs"), 500);
        QCOMPARE(content.count("\n$;9;ours"), 1);
        // It is written to and read at once: without an end, if its tags went into it.
        const QString link = console.root().filePath("link.log");
        QVERIFY(QFile::link(log, link));
        for (const QString& name : {log, link}) {
            console.open(name);
            QCOMPARE(contents(log), content);
        }
    }

    void signalsAreTypedSavedAndLoaded()
    {
        ImportingConsole console;
        console.open(samples + "drive.candump");
        console.click("addCanTrace");
        QCOMPARE(console.plot()->graph(128)->pen().color(), QColor(100, 164, 156));
        QCOMPARE(console.plot()->graph(128)->name(), "Graph 129");
        const QStringList texts = {"123", "0", "8", "0.123456789", "0.0", "1"};
        for (int column = 0; column < texts.size(); ++column) {
            console.type(column, texts[column]);
        }
        QCOMPARE(console.status(), "row: 0, col: 5, val: 1");
        QCOMPARE(console.cell(0, 0), "123"); // as typed
        QCOMPARE(console.cell(0, 4), "0");   // it is the stored value
        // A typing error brings back a shorter text, and leaves the value as it is.
        console.type(3, "?");
        QCOMPARE(console.cell(0, 3), "0.123457");
        QCOMPARE(console.status(), "row: 0, col: 3, val: 0.123457");
        console.type(5, "3");
        console.type(1, "505"); // no place for it in a frame: the curve stays as it was
        QCOMPARE(console.points(128), "(0,0.123456789)(1.5,0.123456789)(1.5,0.370370367)");
        console.type(1, "0");
        console.type(5, "0");
        QCOMPARE(console.points(128), "");

        // A set comes behind the rows that are there.
        const QByteArray line = "0x123;8;16;0.123457;0;1;0;0;0x1f;-1;%1;%12\r\n";
        const QString set = console.write("set.csv", "0x123;8;16;0.12345678;0;1;0;0;0x1f;-1;%1\n");
        for (int row = 1; row < 3; ++row) {
            withFile(set, [&] { console.click("loadCanSignals"); });
            QCOMPARE(console.table()->rowCount(), row + 1);
            QCOMPARE(console.cell(row, 8), "0x1f"); // loaded as "1f", and written anew at once
            QCOMPARE(console.cell(row, 10), "%1");
        }
        const QString saved = console.root().filePath("saved.csv");
        withFile(console.root().filePath("saved"), [&] { console.click("saveCanSignals"); });
        QVERIFY(contents(saved).endsWith(";;%12\r\n" + line + line));
        // A loaded signal draws when "Show" changes, with all digits, whatever its cell says.
        console.type(9, "3", 1);
        QCOMPARE(console.points(129), "");
        console.type(5, "0", 1);
        console.type(5, "1", 1);
        QCOMPARE(console.plot()->graph(129)->dataMainValue(0), 0xaa02 * 0.12345678);

        // The program goes on while many are loaded.
        const QString many = console.write("many.csv", QByteArray("0x1;0;8\n").repeated(3000));
        int loaded = 0;
        withFile(
            many, [&] { console.click("loadCanSignals"); },
            [&] { loaded = console.plot()->graphCount(); });
        QCOMPARE(console.plot()->graphCount(), 131 + 3000);
        QVERIFY(loaded >= 131 && loaded < 131 + 3000);
    }
};

QTEST_MAIN(ConsoleImportTest)
#include "tst_consoleimport.moc"
