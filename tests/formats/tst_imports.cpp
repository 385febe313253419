// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/blackboxreader.h"
#include "formats/textfield.h"
#include "formats/traceformat.h"
#include "schema/blackbox.pb.h"
#include "support/importcheck.h"
#include "support/testhome.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>
#include <random>
#include <sstream>

using namespace formats;

namespace {

QByteArray sample(const QString& name)
{
    return contents(XCU_TEST_DATA_DIR "/" + name);
}

struct Blackbox
{
    BlackboxContent content;
    QVector<CanFrames> frames;
    QByteArray conversion;
};

Blackbox blackbox(const std::string& bytes)
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
        const QString drive = "0 can%1 123 [3] 0102aa|0.01 can%1 7ff [8] 1122334455667788|"
                              "0.025 can%1 a [0] |1.5 can%1 123 [3] 0302aa|2 can%1 456 [1] ff";
        const QString converted = "|(0.000000) can2 123#0102aa|(0.010000) can2 7ff#1122334455667788"
                                  "|(0.025000) can2   a#|(1.500000) can2 123#0302aa"
                                  "|(2.000000) can2 456#ff";
        const QString csv = "csv file!|Found start marker|";
        const QByteArray columns("TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n");
        const QString one = "0 can0 1 [1] 02";
        using Row = std::tuple<QString, const char*, QByteArray, QString>;
        const QList<Row> rows = {
            {"sample", ".candump", sample("drive.candump"), drive.arg(0)},
            {"sample", ".trc", sample("drive.trc"), "trc file!|" + drive.arg(0)},
            {"sample", ".csv", sample("drive.csv"), csv + drive.arg(0)},
            {"sample", ".trace", sample("drive.trace"), drive.arg(1)},
            {"log2asc, three header lines", ".asc", sample("log2asc.asc"),
             QString("0 can0 0 [0] |").repeated(3) + drive.arg(2) + converted},
            {"empty line ends", ".candump", "(1) c 1#02\n \t\r\n(1) c 1#02\n", one},
            {"no-break space is empty", ".candump", "(1) c 1#02\n\xc2\xa0\n(1) c 1#02", one},
            {"bare CR", ".candump", "(1) c 1#02\r(1) c 1#03\n", "0 can0 1 [2] 0021"},
            {"UTF-8 mark", ".candump", "\xef\xbb\xbf(1) c 1#02\n", one},
            {"UTF-16", ".candump", {"\xff\xfe(\0001\0)\0 \0c\0 \0001\0#\0000\0002\0", 22}, one},
            {"NUL", ".candump", {"(1\0) c 1\0#02\n", 13}, "0 can0 0 [1] 02"},
            {"FD digit is a byte", ".candump", "(1) c 123##1aabb", "0 can0 123 [3] 01aabb"},
            {"later FD marker", ".candump", "(1) c 1#2##345\n", "0 can0 0 [2] 0345"},
            {"identifiers", ".candump", "(1) c 7fffffff#R\n2) c 0x10#7\n3 c 80000000#\n4",
             "0 can0 7fffffff [0] |1 can0 10 [1] 07|2 can0 0 [0] |3 can0 0 [0] "},
            {"cut at 64", ".candump", "(1) c 1#" + QByteArray(130, '1'),
             "0 can0 1 [65] " + QString(128, '1')},
            {"midnight", ".txt", "23:59:59.999 -> C:i=16:n=9:1:23\n00:00:00.000 -> C:i=1::ff\n",
             "0 can0 10 [2] 0123|-86399999 can0 1 [0] "},
            {"no time", ".txt", "1:00:00.0 -> C:i=1:n\n01:00:00.000 ->  -> C:i=0x1:n:1",
             "0 can0 1 [0] |0 can0 0 [1] 01"},
            {"LF alone is one frame", ".trc", "1,5\tR\t1\t1\t1\t02\n2,5\tR\t1\t1\t1\t03\n",
             "trc file!|" + one},
            {"stated length", ".trc",
             "1\tR\t1\t1\t3\t010203\r\n\r\n2\tR\t\t1\t1\t3\taa\r\n2,5\t8\r",
             "trc file!|0 can0 1 [3] 010203|1 can0 1 [3] aa0203|1.5 can0 0 [0] "},
            {"no column names", ".csv", columns.toLower() + "R,1,1,2,,,,,,,,,1,10\n", "csv file!"},
            {"! is 0, gaps close up", ".csv",
             columns + "R,1000,1,1,2,3,,,,,,,1\nR,1!23,1,1FF,,,,, ,,2,,1\n\xc2\xb5,\n",
             csv + QString::fromUtf8("Invalid line >\xc2\xb5,<|") +
                 "0 can0 1 [3] 010203|23 can0 1 [3] ff0002"},
            {"others repeat the frame", ".asc",
             "5 1 7 Rx d 1 ff\n6 2 7 Rx d 2 f\n7 1 8 Rx d 1 ee\n8 CANFD 3 Rx 1ffx n 1 0 99 1\n"
             "9 2 8 Rx d -5 1 2\n",
             "0 can0 0 [0] |1 can2 7 [2] 0f00|2 can2 7 [2] 0f00|3 can1 0 [99] 01" +
                 QString(126, '0') +
                 "|4 can2 8 [-5] |(1.000000) can2   7#0f00|(3.000000) can1   0#01" +
                 QString(126, '0') + "|(4.000000) can2   8#"},
            {"base behind comments", ".trace", ";x\n1) 500.5 R 1 2 3\n;\n2) 1500.5 R 2 0 3\n3) x",
             "0 can1 1 [2] 0300|1 can1 2 [0] |-0.5005 can1 0 [0] "},
        };
        for (const auto& [name, kind, content, expected] : rows) {
            const Readings read = traceReadings(kind, content, false);
            QCOMPARE(name + ": " + read.fast.join('|'), name + ": " + expected);
            QCOMPARE(read.fast, read.slow);
        }
    }

    void logs()
    {
        const QList<std::tuple<QByteArray, int, QString>> rows = {
            {"1;100;7;\n2;1100;8;\n", -1,
             "|(0,7)(1,8) |(0,0)(1,0) 1100-100"}, // line end is a column
            {"1;0;1;2\n2;0\n3;1000;3\n4;2000;4;5", 0, "|(0,1)(1,3)(2,4) |(0,2)(2,5) 2000-0"},
            {"1;100;7;8;9;10;\n#;t;A;x;\n", -1, "0=A 1=x! 2=\n |(0,7) |(0,8) 100-100"},
            {"#;t;x;\r\n#;T;B\n", -1, "0=B\n! 1=\r\n | | -1--1"}, // hidden stays hidden
            {"#;t; x;X;x\n", -1, "0= x 1=X 2=x\n | | -1--1"},
            {"$;100; a b \r\n$;150;c;d\n1;200;7\n", -1,
             "a b@100-100 c@150-100 |(0.10000000149011612,7) | 200-100"}, // a tag sets the origin
            {"$;9\n\n7\n#\n#;t\n", 5, "| | -1-5"},                        // short lines
            {"1;4294967295;1", 1000, "|(-1,1) | 0-1000"},
            {"1;-2147483648;1", 2147483647, "|(0.0010000000474974513,1) | -2147483648-2147483647"},
            {"1;-1;1\n2;5;2", -1, "|(0,1)(0,2) | 5-5"}, // -1 is no origin, but -2 is
            {"1;2;1", -2, "|(0.0040000001899898052,1) | 2--2"},
            {"1;16777217;1", 0, "|(16777.216796875,1) | 16777217-0"},
            {"1;0; 7 ;1.5\n1;0;-2147483649;+5", 0, "|(0,7)(0,0) |(0,0)(0,5) 0-0"},
            {{"#;t;A;\0;B\n1\0;5;6\n", 17}, -1, "0=A 1= | | -1--1"},
            {"\xef\xbb\xbf$;\xef\xbb\xbf 5;T", -1, "T@0-0 | | 0-0"},
        };
        for (const auto& [content, origin, expected] : rows) {
            const Readings read = logReadings(content, 2, origin);
            QCOMPARE(read.fast.join(' '), expected);
            QCOMPARE(read.fast, read.slow);
        }
    }

    // Whatever readers stumble over, at any place.
    void damagedFiles()
    {
        const QList<QByteArray> stumbles =
            QByteArray(
                "| |\t|\n|\r|\r\n|\n\n|;|,|#|##|=|:| -> |-|+|.|(|!|0x|x|$;|1e3|nan|-inf|007|64|140|"
                "2147483648|99999999999999999999|0.1234567890123456789|CANFD 1 2 3 4 5 6|\xc2\xa0|"
                "\xe2\x80\x83|\xef\xbb\xbf|\xff|\xff\xfe|\xc3")
                .split('|');
        for (const QString& name : QDir(XCU_TEST_DATA_DIR).entryList(QDir::Files)) {
            const QString kind = name.mid(name.indexOf('.'));
            const QByteArray whole = sample(name);
            const bool isText = kind == ".log" || traceFormat(kind) != nullptr;
            for (int i = 0; isText && i < 3 * whole.size(); ++i) {
                QByteArray content = whole;
                content.replace(i % whole.size(), i % 4, stumbles[i % stumbles.size()]);
                const Readings read =
                    kind == ".log" ? logReadings(content, 3, 1000) : traceReadings(kind, content);
                QCOMPARE(read.fast, read.slow);
            }
        }
    }

    // Blocks, and lines that are longer than a block, must not show.
    void longFiles()
    {
        QByteArray content;
        for (int i = 0; i < 30000; ++i) {
            content += "(1.5) can1 " + QByteArray::number(i, 16) + "#0102\n";
        }
        content += "(1) can0 1#" + QByteArray(10'000'000, 'a') + '\n' + content;
        const Readings read = traceReadings(".candump", content);
        QVERIFY(read.fast == read.slow);
    }

    void unreadable()
    {
        const QTemporaryDir folder;
        QVector<CanFrames> frames;
        TraceImport import{frames};
        for (const QString kind : {".txt", ".candump", ".trc", ".csv", ".asc", ".trace"}) {
            QVERIFY(QDir(folder.path()).mkdir("a.log" + kind));
            for (const QString& name : {"a.log" + kind, "none" + kind}) {
                const QString path = folder.filePath(name);
                const QString status = readTraceFile(*traceFormat(path), path, import);
                QVERIFY(status.endsWith(" file. 0 canbus frames"));
            }
        }
        QVERIFY(traceFormat("a.TXT") == nullptr);
        // The last figure is the state of a real file stream.
        QVERIFY(readBlackboxFile("/none/a.rbx", import).statusText.endsWith(" 0 canbus frames, 0"));
    }

    // Whatever is not plain goes through Qt; this finds out whether what is plain is so for Qt.
    void numbers()
    {
        std::mt19937 random(1);
        const QString alphabet =
            QStringLiteral("0123456789012345678901234567899aFxX..-+eE \t,inN\u00a0");
        for (int i = 0; i < 40000; ++i) {
            QString text;
            for (unsigned size = random() % 22; size > 0; --size) {
                text += alphabet[static_cast<int>(random() % unsigned(alphabet.size()))];
            }
            const std::string bytes = text.toStdString();
            QCOMPARE(decimalInt(bytes), text.toInt());
            QCOMPARE(hexInt(bytes), text.toInt(nullptr, 16));
            QCOMPARE(
                QString::number(realNumber(bytes), 'g', 17),
                QString::number(text.toDouble(), 'g', 17));
            unsigned char decoded[22] = {};
            const int size = decodeHex(bytes, decoded, sizeof decoded);
            QCOMPARE(
                QByteArray(reinterpret_cast<const char*>(decoded), size),
                QByteArray::fromHex(text.toUtf8()));
        }
    }

    void blackboxes()
    {
        const Blackbox read = blackbox(sample("drive.rbx").toStdString());
        QCOMPARE(
            read.content.statusText,
            "Read log file. 20 log points (2 IN/1 OUT), 5 canbus frames, 1");
        QCOMPARE(read.content.firstTimestamp, 5000);
        QCOMPARE(read.content.channelTexts, (QStringList{"In0", "In1", "Out0"}));
        QCOMPARE(read.content.points.points(1)[19].value, -19.0);
        QCOMPARE(read.content.points.points(2)[19].key, static_cast<double>(5.19F));
        QCOMPARE(read.frames[4].frameTime, 7.0);
        // Thousands of seconds, blanks before the identifier.
        QVERIFY(read.conversion.contains("\n(0.005025) can2   a#\n"));
    }

    void damagedBlackboxes()
    {
        xcu::BlackboxFileL file;
        file.add_loglines(logRecord(2, 1, 1000));
        file.add_loglines(logRecord(1, 0, 2000));               // fewer values
        file.add_loglines(logRecord(3, 2, 3000));               // more
        file.add_loglines(logRecord(2, 0, 4000).substr(0, 13)); // inputs, but no time
        file.add_candumplines("\x0a\x7f");                      // counted, not read
        xcu::BlackboxCandumpFileLine frame;
        frame.set_framedata("123456789abc");
        frame.set_timestamp(0xffffffffU);
        frame.set_canid(-1);
        file.add_candumplines(frame.SerializeAsString());
        const Blackbox read = blackbox(file.SerializeAsString());
        QCOMPARE(
            read.content.statusText,
            "Read log file. 4 log points (2 IN/1 OUT), 2 canbus frames, 1");
        for (const int channel : {0, 1, 2}) {
            QCOMPARE(read.content.points.points(channel).size(), std::size_t(4 - channel));
            QCOMPARE(read.content.points.points(channel)[1].key, channel == 0 ? 2.0 : 3.0);
        }
        QCOMPARE(read.content.points.points(0)[3].key, 0.0);
        QCOMPARE(read.frames.size(), 1);
        QCOMPARE(read.frames[0].length, 8);
        QCOMPARE(
            read.conversion, QByteArray("(4294.967295) can0 ffffffffffffffff#3132333435363738\n"));
        QVERIFY(!blackbox("not a record").content.hasLog);
        for (const int inputs : {126, 128, 130, 0}) {
            file.set_loglines(0, logRecord(inputs, 130, 1000));
            const BlackboxContent content = blackbox(file.SerializeAsString()).content;
            QCOMPARE(content.channelTexts.size(), 128);
            QCOMPARE(content.channelTexts.filter("In").size(), qMin(inputs, 128));
            QCOMPARE(content.points.points(127)[0].key, 1.0);
        }
    }
};

QTEST_APPLESS_MAIN(TestImports)
#include "tst_imports.moc"
