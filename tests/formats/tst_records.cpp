// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"
#include "formats/logreader.h"
#include "schema/blackbox.pb.h"
#include "support/importcheck.h"

#include <QBuffer>
#include <QTest>
#include <sstream>

namespace {

// "(key,value)..." of each channel, channels separated by "|".
QString text(const RecordPoints& records)
{
    QStringList channels;
    for (int channel = 0; channel < records.channelCount(); ++channel) {
        QString points;
        for (const GraphPoint& point : records.points(channel)) {
            points += QStringLiteral("(%1,%2)").arg(point.key, 0, 'g', 17).arg(point.value);
        }
        channels << points;
    }
    return channels.join('|');
}

QString text(const LogContent& log)
{
    QStringList parts;
    for (const LogContent::Label& label : log.labels) {
        parts
            << QStringLiteral("%1=%2%3").arg(label.channel).arg(label.text, label.hides ? "!" : "");
    }
    for (const LogContent::Tag& tag : log.tags) {
        parts << QStringLiteral("%1@%2-%3")
                     .arg(tag.text)
                     .arg(tag.lastTimestamp)
                     .arg(tag.firstTimestamp);
    }
    parts << text(log.points)
          << QStringLiteral("%1-%2").arg(log.lastTimestamp).arg(log.firstTimestamp);
    return parts.join(' ');
}

struct Blackbox
{
    BlackboxContent content;
    QVector<CanFrames> frames;
    QByteArray conversion;
};

Blackbox read(std::istream& stream)
{
    Blackbox result;
    QBuffer conversion(&result.conversion);
    conversion.open(QIODevice::WriteOnly);
    TraceImport import{result.frames, [](std::string_view) {}, &conversion};
    result.content = readBlackbox(stream, import);
    return result;
}

Blackbox read(const std::string& bytes)
{
    std::istringstream stream(bytes);
    return read(stream);
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
    void logs_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("origin");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const QByteArray& content, int origin,
                            const QString& expected) {
            QTest::newRow(name) << content << origin << expected;
        };
        row("empty", "", -1, "| -7--1");
        row("line end is a column", "1;100;7;\n2;1100;8;\n", -1, "(0,7)(1,8)|(0,0)(1,0) 1100-100");
        row("values without a graph", "1;100;7;8;9;10;\n", -1, "(0,7)|(0,8) 100-100");
        row("ragged", "1;0;1;2\n2;0\n3;1000;3\n4;2000;4;5", 0, "(0,1)(1,3)(2,4)|(0,2)(2,5) 2000-0");
        row("line end is a label", "#;timestamp;A;x;\n", -1, "0=A 1=x! 2=\n | -7--1");
        row("hidden stays hidden", "#;t;x;\r\n#;T;B\n", -1, "0=B\n! 1=\r\n | -7--1");
        row("x is the whole text", "#;t; x;X;x\n", -1, "0= x 1=X 2=x\n | -7--1");
        row("tag sets the origin", "$;100; a b \r\n$;150;c;d\n1;200;7\n", -1,
            "a b@100-100 c@150-100 (0.10000000149011612,7)| 200-100");
        row("short lines change nothing", "$;9\n\n7\n#\n#;t\n", 5, "| -7-5");
        row("first part is not trimmed", " #;5;A\n", 0, "(0.004999999888241291,0)| 5-0");
        row("time above 2^31 is 0", "1;4294967295;1", 1000, "(-1,1)| 0-1000");
        row("difference wraps round", "1;-2147483648;1", 2147483647,
            "(0.0010000000474974513,1)| -2147483648-2147483647");
        row("time of -1 is no origin", "1;-1;1\n2;5;2", -1, "(0,1)(0,2)| 5-5");
        row("single precision", "1;16777217;1", 0, "(16777.216796875,1)| 16777217-0");
        row("not a value", "1;0; 7 ;1.5\n1;0;-2147483649;+5", 0, "(0,7)(0,0)|(0,0)(0,5) 0-0");
        row("NUL cuts", QByteArray("#;t;A;\0;B\n1\0;5;6\n", 17), -1, "0=A 1= | -7--1");
        row("byte order mark",
            "\xef\xbb\xbf#;t;\xc2\xb5\n\xef\xbb\xbf$;\xef\xbb\xbf"
            "5;\xef\xbb\xbfT",
            -1, QStringLiteral("0=\u00b5\n \ufeffT@0-0 | 0-0"));
    }

    void logs()
    {
        QFETCH(QByteArray, content);
        QFETCH(int, origin);
        QBuffer device(&content);
        device.open(QIODevice::ReadOnly);
        QTEST(text(readLog(device, 2, origin, -7)), "expected");
    }

    void sampleAndDamagedLogs()
    {
        QFile file(XCU_TEST_DATA_DIR "/session.log");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray sample = file.readAll();
        file.seek(0);
        const LogContent log = readLog(file, 128, -1, -1);
        QCOMPARE(log.labels.size(), 128);
        QCOMPARE(log.labels[2].text, QStringLiteral("Clutch \u00b5"));
        QCOMPARE(log.points.points(2).back().value, -285.0);
        QCOMPARE(log.points.points(3).back().value, 0.0);
        QVERIFY(log.points.points(4).empty());
        std::mt19937 random(1);
        for (int i = 0; i < 500; ++i) {
            const QByteArray content = damaged(sample, random);
            const QString difference = logDifference(content);
            QVERIFY2(difference.isEmpty(), qPrintable(difference + '\n' + content));
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
        QCOMPARE(sample.content.points.points(1)[19].value, -19.0);
        QCOMPARE(sample.content.points.points(2)[19].key, static_cast<double>(5.19F));
        QCOMPARE(sample.frames[4].frameTime, 7.0);
        // Thousands of seconds, blanks before the identifier.
        QCOMPARE(sample.conversion.left(28), QByteArray("(0.005000) can2 123#0102aa\n("));
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
        QCOMPARE(
            text(result.content.points),
            "(1,-1)(2,-1)(3,-1)(0,-1)|(1,0)(3,0)(0,0)|(1,1000)(3,1000)");
        QCOMPARE(result.frames.size(), 1);
        QCOMPARE(result.frames[0].length, 8);
        QCOMPARE(
            result.conversion,
            QByteArray("(4294.967295) can0 ffffffffffffffff#3132333435363738\n"));

        const Blackbox none = read("not a record");
        QCOMPARE(
            none.content.statusText,
            "Read log file. 0 log points (0 IN/0 OUT), 0 canbus frames, 1");
        QVERIFY(!none.content.hasLog);
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
        TraceImport import{frames, [](std::string_view) {}};
        QVERIFY(readBlackboxFile("/none/a.rbx", import).statusText.endsWith(" frames, 0"));
        QVERIFY(readBlackboxFile(XCU_TEST_DATA_DIR "/drive.rbx", import)
                    .statusText.endsWith(" frames, 1"));
        QCOMPARE(frames.size(), 5);
    }
};

QTEST_APPLESS_MAIN(TestRecords)
#include "tst_records.moc"
