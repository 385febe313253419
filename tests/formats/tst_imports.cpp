// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"
#include "formats/lenienttraces.h"
#include "formats/logfile.h"
#include "formats/textfield.h"
#include "formats/traceimport.h"
#include "schema/blackbox.pb.h"

#include <QtTest>
#include <random>

using namespace formats;

namespace {

QString describe(const CanFrames& frame)
{
    const QByteArray payload(reinterpret_cast<const char*>(frame.payload), payloadSize(frame));
    return QString::asprintf(
        "%.12g can%d %llx [%d] %s", frame.frameTime, frame.busNumber, quint64(frame.frameId),
        frame.length, payload.toHex().constData());
}

// What read(TraceImport&) gives: diagnosis, frames and lines of the conversion, separated by "|".
template <typename Read>
QString imported(Read read)
{
    QStringList lines;
    QVector<CanFrames> frames;
    QBuffer conversion;
    conversion.open(QIODevice::WriteOnly);
    {
        TraceImport import(
            frames, &conversion, [&lines](std::string_view line) { lines << textOf(line); });
        read(import);
    }
    for (const CanFrames& frame : frames) {
        lines << describe(frame);
    }
    return (lines + QString(conversion.data()).split('\n', Qt::SkipEmptyParts)).join('|');
}

// The kind is the end of a file name, such as ".txt".
QString readTrace(const QString& kind, QByteArray content)
{
    return imported([&](TraceImport& import) {
        QBuffer device(&content);
        device.open(QIODevice::ReadOnly);
        import.reserveFor(device);
        traceFormat(kind)->read(device, import);
    });
}

QString joined(const std::vector<int>& values)
{
    QStringList texts;
    for (const int value : values) {
        texts << QString::number(value);
    }
    return texts.join(',');
}

// "#A,B" for a header, "$5 text" for a tag, "5:1,2" for a record, separated by "|".
QString readLog(QByteArray content, int columnLimit)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    QStringList lines;
    const auto header = [&](const QStringList& labels) { lines << '#' + labels.join(','); };
    const auto tag = [&](int timestamp, const QString& text) {
        lines << QString("$%1 %2").arg(timestamp).arg(text);
    };
    const auto record = [&](int timestamp, const std::vector<int>& values) {
        lines << QString("%1:%2").arg(timestamp).arg(joined(values));
    };
    formats::readLog(device, columnLimit, {header, tag, record});
    return lines.join('|');
}

// "5+2:1,2|" for each record: time, first channel and values.
QString recordsOf(const BlackboxRecord& record)
{
    QString records;
    record.readRecords([&records](int time, int firstChannel, const std::vector<int>& values) {
        records += QString("%1+%2:%3|").arg(time).arg(firstChannel).arg(joined(values));
    });
    return records;
}

std::string logRecord(int inputs, int outputs, int timestamp)
{
    xcu::BlackboxFileLine record;
    for (int i = 0; i < inputs + outputs; ++i) {
        i < inputs ? record.add_inputs(i - 1) : record.add_outputs(i);
    }
    record.set_timestamp(timestamp);
    return record.SerializeAsString();
}

} // namespace

class TestImports : public QObject
{
    Q_OBJECT

private slots:
    void traces()
    {
        const QString csv = "csv file!|Found start marker|";
        const QByteArray columns("TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n");
        const QString one = "0 can0 1 [1] 02";
        using Row = std::tuple<QString, const char*, QByteArray, QString>;
        const QList<Row> rows = {
            {"empty line ends", ".candump", "(1) c 1#02\n \t\r\n(1) c 1#02\n", one},
            {"no-break space is empty", ".candump", "(1) c 1#02\n\xc2\xa0\n(1) c 1#02", one},
            {"bare CR", ".candump", "(1) c 1#02\r(1) c 1#03\n", "0 can0 1 [2] 0021"},
            {"UTF-8 mark", ".candump", "\xef\xbb\xbf(1) c 1#02\n(3) c 1#", one + "|2 can0 1 [0] "},
            {"UTF-16", ".candump", {"\xff\xfe(\0001\0)\0 \0c\0 \0001\0#\0000\0002\0", 22}, one},
            {"NUL", ".candump", {"(1\0) c 1\0#02\n", 13}, "0 can0 0 [1] 02"},
            {"FD digit is a byte", ".candump", "(1) c 123##1aagFf", "0 can0 123 [3] 01aaff"},
            {"later FD marker", ".candump", "(1) c 1#2##345\n", "0 can0 0 [2] 0345"},
            {"second marker ends", ".candump", "(1) c 1#02#03\n", one},
            {"identifiers", ".candump", "(1) c 7fffffff#R\n2) c 0x10#7\n3 c 80000000#\n4",
             "0 can0 7fffffff [0] |1 can0 10 [1] 07|2 can0 0 [0] |3 can0 0 [0] "},
            {"cut at 64", ".candump", "(1) c 1#" + QByteArray(130, '1'),
             "0 can0 1 [65] " + QString(128, '1')},
            {"long", ".candump", "(1) c 1#" + QByteArray(200'000, 'a') + "\n(1) c 1#02\n",
             "0 can0 1 [100000] " + QString(128, 'a') + '|' + one},
            {"endless line", ".candump", "(1) c 1#" + QByteArray(3 << 20, 'a') + "\n(1) c 1#02\n",
             "0 can0 1 [524284] " + QString(128, 'a') + '|' + one},
            {"midnight", ".txt", "23:59:59.999 -> C:i=16:n=9:1:23\n00:00:00.000 -> C:i=1::ff\n",
             "0 can0 10 [2] 0123|-86399999 can0 1 [0] "},
            {"no time", ".txt", "1:00:00.0 -> C:i=1:n\n01:00:00.000 ->  -> C:i=0x1:n:1",
             "0 can0 1 [0] |0 can0 0 [1] 01"},
            {"LF alone is one frame", ".trc", "1,5\tR\t1\t1\t1\t02\n2,5\tR\t1\t1\t1\t03\n",
             "trc file!|" + one},
            {"stated length", ".trc",
             "1\tR\t1\t1\t3\t010203\r\n\r\n2\tR\t\t1\t1\t3\taa\r\n2,5\t8\r3\t\r",
             "trc file!|0 can0 1 [3] 010203|1 can0 1 [3] aa0203|1.5 can0 0 [0] "},
            {"no column names", ".csv", columns.toLower() + "R,1,1,2,,,,,,,,,1,10\n", "csv file!"},
            {"! is 0, gaps close up", ".csv",
             columns + "R,1000,1A,1,2,3,,,,,,,1\nR,1!23,1,1FF,,,,, ,,2,,1\n\xc2\xb5,\n",
             csv + QString::fromUtf8("Invalid line >\xc2\xb5,<|") +
                 "0 can0 1a [3] 010203|23 can0 1 [3] ff0002"},
            {"others repeat the frame", ".asc",
             "  5 1  7  Rx   d 1 ff\n6 2 7 Rx d 2 f\n7 1 8 Rx d 1 ee\n"
             "8 CANFD 3 Rx 1ffx n 1 0 99 1\n9 2 8 Rx d -5 1 2\n",
             "0 can0 0 [0] |1 can2 7 [2] 0f00|2 can2 7 [2] 0f00|3 can1 0 [99] 01" +
                 QString(126, '0') +
                 "|4 can2 8 [-5] |(1.000000) can2   7#0f00|(3.000000) can1   0#01" +
                 QString(126, '0') + "|(4.000000) can2   8#"},
            {"base behind comments", ".trace", ";x\n1) 500.5 R 1 2 3\n;\n2) 1500.5 R 2 0 3\n3) x",
             "0 can1 1 [2] 0300|1 can1 2 [0] |-0.5005 can1 0 [0] "},
        };
        for (const auto& [name, kind, content, expected] : rows) {
            QCOMPARE(name + ": " + readTrace(kind, content), name + ": " + expected);
        }
        QVERIFY(traceFormat("a.TXT") == nullptr);
    }

    void logs()
    {
        const QList<std::pair<QByteArray, QString>> rows = {
            {"1;100;7;\n2;200;8;-9;\n", "100:7,0|200:8,-9,0"}, // the line end is a column
            {"1;0;1;2\n2;0\n3;1;;", "0:1,2|0:|1:0,0"},
            {"#;t;A;x;\r\n#;T; B\n#;t\n#\n", "#A,x,\r\n|# B\n|#"},
            {"$;100; a b \r\n$;-1;c;d\n$;9\n\n7\n", "$100 a b|$-1 c|9:"}, // short lines
            {"1;4294967295;2147483648", "0:0"},
            {"1;-2147483648; 7 ;+5;1.5", "-2147483648:7,5,0"},
            {{"#;t;A;\0;B\n1\0;5;6\n", 17}, "#A,"},
            {"\xef\xbb\xbf$;\xef\xbb\xbf 5;T", "$0 T"},
            {"1;1;1;2;3;4;5;6;7\n", "1:1,2,3,4,5"}, // as many as asked for
            {"#;t" + QByteArray(130, ';'), '#' + QString(127, ',')},
            {"$;1;" + QByteArray(2000, 'a') + "\n", "$1 " + QString(1000, 'a')},
        };
        for (const auto& [content, expected] : rows) {
            QCOMPARE(readLog(content, 5), expected);
        }
    }

    // Whatever is not plain goes through Qt; this finds out whether what is plain is so for Qt.
    void numbers()
    {
        // For Qt 6 the first would end at its zero byte, and the second would be no number.
        QCOMPARE(decimalInt({"1\0", 2}), 0);
        QCOMPARE(hexInt("\u00a0\u2212a"), -10);
        const QStringList pieces = QString("0|1|2|3|4|5|6|7|8|9|9|a|F|g|0x|X|.|..|-|+|e|E|,|N|\t| |"
                                           "-inf|infinity|nan|nan(1)|1e400|1e-400")
                                       .split('|');
        std::mt19937 random(1);
        for (int i = 0; i < 40000; ++i) {
            QString text;
            for (unsigned size = random() % 16; size > 0; --size) {
                text += pieces[static_cast<int>(random() % unsigned(pieces.size()))];
            }
            const std::string bytes = text.toStdString();
            QCOMPARE(decimalInt(bytes), text.toInt());
            QCOMPARE(hexInt(bytes), text.toInt(nullptr, 16));
            QCOMPARE(
                QString::number(realNumber(bytes), 'g', 17),
                QString::number(text.toDouble(), 'g', 17));
        }
    }

    void blackboxes()
    {
        xcu::BlackboxFileL file;
        file.add_loglines(logRecord(2, 1, 1000));
        file.add_loglines(logRecord(1, 1, 2000));               // fewer inputs
        file.add_loglines(logRecord(3, 2, 3000));               // more
        file.add_loglines(logRecord(2, 0, 4000).substr(0, 13)); // inputs, but no time
        file.add_candumplines("\x0a\x7f");                      // counted, not read
        xcu::BlackboxCandumpFileLine frame;
        frame.set_framedata("123456789abc");
        frame.set_timestamp(0xffffffffU);
        frame.set_canid(-1);
        file.add_candumplines(
            "\x22" + std::string(2 << 20, '\x7f')); // nor is noise, whatever it states
        file.add_candumplines(frame.SerializeAsString());
        QBuffer device;
        const auto parse = [&device](const std::string& content) {
            device.close();
            device.setData(QByteArray::fromStdString(content));
            device.open(QIODevice::ReadOnly);
            return BlackboxRecord(device);
        };
        const std::string newerField = "\x18\x01"; // passed over
        const BlackboxRecord record = parse(newerField + file.SerializeAsString());
        QCOMPARE(
            record.statusText(), "Read log file. 4 log points (2 IN/1 OUT), 3 canbus frames, 1");
        QCOMPARE(recordsOf(record), "1000+0:-1,0,2|2000+0:-1|2000+2:1|3000+0:-1,0,3|0+0:-1,0|");
        QCOMPARE(
            imported([&record](TraceImport& import) { record.readFrames(import); }),
            "4294967.295 can0 ffffffffffffffff [8] 3132333435363738|"
            "(4294.967295) can0 ffffffffffffffff#3132333435363738");
        for (const int inputs : {126, 130, 0}) {
            file.set_loglines(0, logRecord(inputs, 130, 1000));
            const BlackboxRecord wide = parse(file.SerializeAsString());
            QCOMPARE(wide.channelTexts().size(), 128);
            QCOMPARE(wide.channelTexts().filter("In").size(), qMin(inputs, 128));
            QCOMPARE(recordsOf(wide).section('|', 0, 0).count(','), 127);
        }
        // The last figure tells whether the end was reached.
        const BlackboxRecord noise = parse(std::string(20000, '\xff'));
        QVERIFY(noise.statusText().endsWith(" 0 canbus frames, 0"));
    }
};

QTEST_APPLESS_MAIN(TestImports)
#include "tst_imports.moc"
