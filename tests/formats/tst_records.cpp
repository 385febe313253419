// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"
#include "formats/logreader.h"
#include "schema/blackbox.pb.h"
#include "support/importcheck.h"

#include <QBuffer>
#include <QTest>
#include <sstream>

namespace {

struct Blackbox
{
    BlackboxContent content;
    QVector<CanFrames> frames;
    QByteArray conversion;
};

Blackbox read(const std::string& bytes)
{
    Blackbox result;
    QBuffer conversion(&result.conversion);
    conversion.open(QIODevice::WriteOnly);
    TraceImport import{result.frames};
    import.candumpFile = &conversion;
    std::istringstream stream(bytes);
    result.content = readBlackbox(stream, import);
    return result;
}

std::string logRecord(int inputs, int outputs, int timestamp)
{
    xcu::BlackboxFileLine record;
    for (int i = 0; i < inputs; ++i) {
        record.add_inputs(i - 1);
    }
    for (int i = 0; i < outputs; ++i) {
        record.add_outputs(1000 + i);
    }
    record.set_timestamp(timestamp);
    return record.SerializeAsString();
}

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void logs()
    {
        struct Row
        {
            const char* name;
            int origin;
            QByteArray content;
            QString expected;
        };
        Row rows[] = {
            {"line end is a column", -1, "1;9;7;\n2;1009;8;\n", "(0,7)(1,8)|(0,0)(1,0)|1009-9"},
            {"values without a graph", -1, "1;100;7;8;9;10;\n", "(0,7)|(0,8)|100-100"},
            {"ragged", 0, "1;0;1;2\n2;0\n3;2000;3\n4;4000;4;5",
             "(0,1)(2,3)(4,4)|(0,2)(4,5)|4000-0"},
            {"line end is a label", -1, "#;timestamp;A;x;\n", "0=A|1=x!|2=\n|||-7--1"},
            {"hidden stays hidden", -1, "#;t;x;\r\n#;T;B\n", "0=B\n!|1=\r\n|||-7--1"},
            {"x is the whole text", -1, "#;t; x;X;x\n", "0= x|1=X|2=x\n|||-7--1"},
            {"tag sets the origin", -1, "$;100; a b \r\n$;150;c;d\n1;600;7\n",
             "a b@100-100|c@150-100|(0.5,7)||600-100"},
            {"short lines change nothing", 5, "$;9\n\n7\n#\n#;t\n", "||-7-5"},
            {"first part is not trimmed", 0, " #;500;A\n", "(0.5,0)||500-0"},
            {"time above 2^31 is 0", 1000, "1;4294967295;1", "(-1,1)||0-1000"},
            {"difference wraps round", 2147483147, "1;-2147483649;1\n1;-2147483648;1",
             "(-2147483.25,1)(0.50099998712539673,1)||-2147483648-2147483147"},
            {"time of -1 is no origin", -1, "1;-1;1\n2;5;2", "(0,1)(0,2)||5-5"},
            {"negative origin", -500, "1;0;1\n", "(0.5,1)||0--500"},
            {"single precision", 0, "1;16777217;1", "(16777.216796875,1)||16777217-0"},
            {"not a value", 0, "1;0; 7 ;1.5\n1;0;-2147483649;+5", "(0,7)(0,0)|(0,0)(0,5)|0-0"},
            {"NUL cuts", -1, QByteArray("#;t;A;\0;B\n1\0;5;6\n", 17), "0=A|1=|||-7--1"},
            {"byte order mark", -1,
             "\xef\xbb\xbf#;t;\xc2\xb5\n\xef\xbb\xbf$;\xef\xbb\xbf"
             "5;\xef\xbb\xbfT",
             QStringLiteral("0=\u00b5\n|\ufeffT@0-0|||0-0")},
        };
        for (auto& [name, origin, content, expected] : rows) {
            QBuffer device(&content);
            device.open(QIODevice::ReadOnly);
            const QString log = describe(readLog(device, 2, origin, -7)).join('|');
            QVERIFY2(log == expected, qPrintable(name + QStringLiteral(": ") + log));
        }
    }

    void damagedLogs()
    {
        QFile file(XCU_TEST_DATA_DIR "/session.log");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray sample = file.readAll();
        QVERIFY(!sample.isEmpty());
        std::mt19937 random(1);
        for (int i = 0; i < 500; ++i) {
            const QByteArray content = damaged(sample, random);
            const QString difference = logDifference(content);
            QVERIFY2(difference.isEmpty(), qPrintable(difference + content));
        }
    }

    void blackbox()
    {
        QFile file(XCU_TEST_DATA_DIR "/drive.rbx");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const Blackbox sample = read(file.readAll().toStdString());
        QCOMPARE(
            sample.content.statusText,
            "Read log file. 20 log points (2 IN/1 OUT), 5 canbus frames, 1");
        QCOMPARE(sample.content.firstTimestamp, 5000);
        QCOMPARE(sample.content.channelTexts, (QStringList{"In0", "In1", "Out0"}));
        QVERIFY(describe(sample.content.points, 1).endsWith("(5.190000057220459,-19)"));
        QCOMPARE(describe(sample.frames[4]), "7 can2 456 [1] ff");
        // Thousands of seconds, blanks before the identifier.
        QVERIFY(sample.conversion.startsWith("(0.005000) can2 123#0102aa\n("));
        QVERIFY(sample.conversion.contains("(0.005025) can2   a#\n"));
    }

    void damagedBlackbox()
    {
        xcu::BlackboxFileL file;
        file.add_loglines(logRecord(2, 1, 1000));
        file.add_loglines(logRecord(1, 0, 2000));               // fewer values
        file.add_loglines(logRecord(3, 2, 3000));               // more
        file.add_loglines(logRecord(2, 1, 4000).substr(0, 14)); // inputs, but no time
        file.add_candumplines("\x0a\x7f");                      // counted, not read
        xcu::BlackboxCandumpFileLine frame;
        frame.set_framedata("123456789abc");
        frame.set_timestamp(0xffffffffU);
        frame.set_canid(-1);
        file.add_candumplines(frame.SerializeAsString());
        const Blackbox result = read(file.SerializeAsString());
        QCOMPARE(
            result.content.statusText,
            "Read log file. 4 log points (2 IN/1 OUT), 2 canbus frames, 1");
        QCOMPARE(describe(result.content.points, 0), "(1,-1)(2,-1)(3,-1)(0,-1)");
        QCOMPARE(describe(result.content.points, 1), "(1,0)(3,0)(0,0)");
        QCOMPARE(describe(result.content.points, 2), "(1,1000)(3,1000)");
        QCOMPARE(result.frames.size(), 1);
        QCOMPARE(result.frames[0].length, 8);
        QCOMPARE(
            result.conversion,
            QByteArray("(4294.967295) can0 ffffffffffffffff#3132333435363738\n"));

        const BlackboxContent none = read("not a record").content;
        QVERIFY(none.statusText.startsWith("Read log file. 0 log points (0 IN/0 OUT), 0 canbus"));
        QVERIFY(!none.hasLog);
    }

    void blackboxFillsTheStrip()
    {
        for (const auto& [inputs, outputs] : {std::pair{126, 5}, {128, 3}, {130, 0}, {0, 130}}) {
            xcu::BlackboxFileL file;
            file.add_loglines(logRecord(inputs, outputs, 1000));
            const Blackbox result = read(file.SerializeAsString());
            const int last = result.content.channelTexts.size() - 1;
            QCOMPARE(result.content.points.points(last).size(), std::size_t(1));
            QCOMPARE(result.content.channelTexts.size(), 128);
            QCOMPARE(
                result.content.channelTexts.filter("Out").size(),
                qMax(0, qMin(outputs, 128 - inputs)));
        }
    }

    // The last figure of the status text is the state of a real file stream.
    void missingBlackbox()
    {
        QVector<CanFrames> frames;
        TraceImport import{frames};
        QVERIFY(readBlackboxFile("/none/a.rbx", import).statusText.endsWith(" frames, 0"));
        QVERIFY(readBlackboxFile(XCU_TEST_DATA_DIR "/drive.rbx", import)
                    .statusText.endsWith(" frames, 1"));
        QCOMPARE(frames.size(), 5);
    }
};

QTEST_APPLESS_MAIN(TestRecords)
#include "tst_records.moc"
