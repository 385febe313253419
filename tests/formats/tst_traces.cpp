// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/frameindex.h"
#include "formats/identifierlist.h"
#include "formats/textfield.h"
#include "formats/traceformat.h"
#include "support/importcheck.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QStringList kinds{".txt", ".candump", ".trc", ".csv", ".asc", ".trace"};

// "<time> can<bus> <identifier> [<length>] <bytes>"
QString summary(const CanFrames& frame)
{
    const QByteArray payload(reinterpret_cast<const char*>(frame.payload), payloadSize(frame));
    return QStringLiteral("%1 can%2 %3 [%4] %5")
        .arg(QString::number(qRound64(frame.frameTime * 1e6) / 1e6, 'g', 12))
        .arg(frame.busNumber)
        .arg(frame.frameId, 0, 16)
        .arg(frame.length)
        .arg(QString::fromLatin1(payload.toHex()));
}

struct Result
{
    QStringList frames;
    QStringList diagnosis;
    QString status;
    QByteArray conversion;
};

Result read(const QString& fileName)
{
    Result result;
    QVector<CanFrames> frames;
    QBuffer conversion(&result.conversion);
    conversion.open(QIODevice::WriteOnly);
    const auto trace = [&result](std::string_view line) { result.diagnosis << textOf(line); };
    TraceImport import{frames, trace, &conversion};
    result.status = readTraceFile(*traceFormat(fileName), fileName, import);
    for (const CanFrames& frame : frames) {
        result.frames << summary(frame);
    }
    return result;
}

} // namespace

class TestTraces : public QObject
{
    Q_OBJECT

private slots:
    void kindIsTheEndOfTheName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("end");
        QTest::newRow("only the end counts") << "a.log.csv"
                                             << ".csv";
        QTest::newRow("two ends begin alike") << "/x.trc/a.trace"
                                              << ".trace";
        QTest::newRow("no stem") << ".trc"
                                 << ".trc";
        QTest::newRow("capitals are another name") << "a.TXT"
                                                   << "";
        QTest::newRow("no dot") << "candump"
                                << "";
        QTest::newRow("black box") << "a.rbx"
                                   << "";
    }

    void kindIsTheEndOfTheName()
    {
        QFETCH(QString, name);
        const TraceFormat* format = traceFormat(name);
        QTEST(format == nullptr ? QString() : QString(format->nameEnd), "end");
    }

    void samples_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("frames");

        const QString drive = "0 can%1 123 [3] 0102aa|0.01 can%1 7ff [8] 1122334455667788"
                              "|0.025 can%1 a [0] |1.5 can%1 123 [3] 0302aa|2 can%1 456 [1] ff";
        const QString five = "Read %1 file. 5 canbus frames";
        QTest::newRow("candump") << "drive.candump" << five.arg("candump") << drive.arg(0);
        QTest::newRow("trc") << "drive.trc" << five.arg("trc") << drive.arg(0);
        QTest::newRow("csv") << "drive.csv" << five.arg("csv") << drive.arg(0);
        QTest::newRow("trace shows candump")
            << "drive.trace" << five.arg("candump") << drive.arg(1);
        QTest::newRow("txt has ms") << "drive.txt" << five.arg("txt")
                                    << drive.arg(0)
                                           .replace("|0.01 ", "|10 ")
                                           .replace("|0.025 ", "|25 ")
                                           .replace("|1.5 ", "|1500 ")
                                           .replace("|2 ", "|2000 ");
        QTest::newRow("python-can") << "pythoncan.candump" << five.arg("candump") << drive.arg(0);
        // Three header lines repeat the empty frame.
        QTest::newRow("log2asc") << "log2asc.asc"
                                 << "Read candump file. 8 canbus frames"
                                 << "0 can0 0 [0] |0 can0 0 [0] |0 can0 0 [0] |" + drive.arg(2);
    }

    void samples()
    {
        QFETCH(QString, file);
        QFETCH(QString, frames);
        const Result result = read(QString(XCU_TEST_DATA_DIR "/") + file);
        QCOMPARE(result.frames, frames.split('|'));
        QTEST(result.status, "status");
    }

    void oddReadings_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("frames");
        const auto row = [](const char* name, const QString& kind, const QByteArray& content,
                            const QString& frames) {
            QTest::newRow(name) << kind << content << frames;
        };

        const QString one = "0 can0 1 [1] 02";
        row("empty line ends", ".candump", "(1) c 1#02\n \t\r\n(1) c 1#02\n", one);
        row("no-break space is an empty line", ".candump", "(1) c 1#02\n\xc2\xa0\n(1) c 1#02", one);
        row("bare CR ends no line", ".candump", "(1) c 1#02\r(1) c 1#03\n", "0 can0 1 [2] 0021");
        row("UTF-8 mark", ".candump", "\xef\xbb\xbf(1) c 1#02\n", one);
        row("mark on a later line", ".candump", "(1) c 1#02\n\xef\xbb\xbf(2) c 1#02\n",
            one + "|-1 can0 1 [1] 02");
        row("UTF-16", ".candump", QByteArray("\xff\xfe(\0001\0)\0 \0c\0 \0001\0#\0000\0002\0", 22),
            one);
        row("NUL is no number", ".candump", QByteArray("(1\0) c 1\0#02\n", 13), "0 can0 0 [1] 02");
        row("FD digit is a byte", ".candump", "(1.5) can1 123##1aabb\n", "0 can0 123 [3] 01aabb");
        row("later marker wins", ".candump", "(1) c 1#2##345\n", "0 can0 0 [2] 0345");
        row("remote frame, wide identifiers", ".candump",
            "(1) c 7fffffff#R\n2) c 0x10#7\n3 c 80000000#\n4",
            "0 can0 7fffffff [0] |1 can0 10 [1] 07|2 can0 0 [0] |3 can0 0 [0] ");
        row("cut at 64 bytes", ".candump", "(1) c 1#" + QByteArray(130, '1'),
            "0 can0 1 [65] " + QString(128, '1'));

        row("midnight", ".txt", "23:59:59.999 -> CAN:i=10:n=9:1:23\n00:00:00.000 -> C:i=16::ff\n",
            "0 can0 a [2] 0123|-86399999 can0 10 [0] ");
        row("no time", ".txt", "1:00:00.000 -> C:i=0x10:n=0:ff\n01:00:00.000 ->  -> C:i=2:n=0:1",
            "0 can0 0 [1] ff|0 can0 2 [1] 01");

        row("LF alone makes one frame", ".trc", "1,5\tR\t1\t1\t1\t02\n2,5\tR\t1\t1\t1\t03\n",
            "0 can0 1 [1] 02");
        row("stated length shows the frame before", ".trc",
            "1\tR\t1\t1\t3\t010203\r\n\r\n2\tR\t\t1\t1\t3\taa\r\n2,5\t8\r\n\t",
            "0 can0 1 [3] 010203|1 can0 1 [3] aa0203|1.5 can0 0 [0] ");

        const QByteArray head("TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n");
        row("without column names", ".csv", head.toLower() + "R,1,1,2,,,,,,,,,1,10\n", "");
        row("! is 0, gaps close up", ".csv",
            head + "R,1000,1,1,2,3,,,,,,,1\nR,1!23,1,1FF,,,,, ,,2,,1\n",
            "0 can0 1 [3] 010203|23 can0 1 [3] ff0002");

        row("other lines repeat the frame", ".asc",
            "5.0 1 7 Rx d 1 ff\n6.0 2 7 Rx d 2 f\n7.0 1 8 Rx d 1 ee\nEnd\n"
            "8 CANFD 3 Rx 1ffx n 1 0 99 1\n9 2 8 Rx d -5 1 2\n",
            "0 can0 0 [0] |1 can2 7 [2] 0f00|2 can2 7 [2] 0f00|-5 can2 7 [2] 0f00"
            "|3 can1 0 [99] 01" +
                QString(126, '0') + "|4 can2 8 [-5] ");

        row("comments", ".trace", ";1) 5 Rx 1 1 2\n", "");
        row("base behind comments, missing bytes", ".trace",
            ";x\n1) 500.5 Rx 1 2 3\n;\n2) 1500.5 Rx 2 0 3\n3) x",
            "0 can1 1 [2] 0300|1 can1 2 [0] |-0.5005 can1 0 [0] ");
    }

    void oddReadings()
    {
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        const QTemporaryDir folder;
        QFile file(folder.filePath(kind));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        QTEST(read(file.fileName()).frames.join('|'), "frames");
    }

    void unreadable()
    {
        const QTemporaryDir folder;
        for (const QString& kind : kinds) {
            QVERIFY(QDir(folder.path()).mkdir(kind));
            for (const QString& name : {folder.filePath(kind), folder.filePath("none" + kind)}) {
                const Result result = read(name);
                QCOMPARE(result.frames, QStringList());
                QVERIFY(result.status.endsWith(" file. 0 canbus frames"));
            }
        }
    }

    void diagnosisAndConversion()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("a.csv"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(
            "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\nR,\xc2\xb5,,,,,,,,,,\n");
        file.close();
        const QStringList expected{
            "csv file!", "Found start marker", QStringLiteral("Invalid line >R,\u00b5,,,,,,,,,,<")};
        QCOMPARE(read(file.fileName()).diagnosis, expected);
        QCOMPARE(read(XCU_TEST_DATA_DIR "/drive.trc").diagnosis, QStringList("trc file!"));
        QCOMPARE(
            read(XCU_TEST_DATA_DIR "/log2asc.asc").conversion,
            QByteArray(
                "(0.000000) can2 123#0102aa\n(0.010000) can2 7ff#1122334455667788\n"
                "(0.025000) can2   a#\n(1.500000) can2 123#0302aa\n(2.000000) can2 456#ff\n"));
    }

    // Whatever is not plain goes through Qt; this finds out whether what is plain is so for Qt.
    void numbers()
    {
        std::mt19937 random(1);
        const QString alphabet =
            QStringLiteral("0123456789012345678901234567899aFxX..-+eE \t,inN\u00a0");
        for (int i = 0; i < 40000; ++i) {
            QString text;
            for (int size = static_cast<int>(random() % 22); size > 0; --size) {
                text +=
                    alphabet[static_cast<int>(random() % static_cast<unsigned>(alphabet.size()))];
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

    void damagedFilesReadAsBefore()
    {
        std::mt19937 random(2);
        for (const QString& kind : kinds) {
            const QString name = kind == ".asc" ? "/log2asc.asc" : "/drive" + kind;
            QFile file(XCU_TEST_DATA_DIR + name);
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray sample = file.readAll();
            for (int i = 0; i < 1000; ++i) {
                const QByteArray content = damaged(sample, random);
                const QString difference = traceDifference(kind, content);
                QVERIFY2(difference.isEmpty(), qPrintable(kind + difference + '\n' + content));
            }
        }
    }

    // Blocks, and lines that are longer than a block, must not show.
    void longFiles()
    {
        const QByteArray longLine = "(1) can0 1#" + QByteArray(10'000'000, 'a');
        QByteArray content;
        for (int i = 0; i < 30000; ++i) {
            content += "(1.5) can1 " + QByteArray::number(i, 16) + "#0102\n";
        }
        const QString difference = traceDifference(".candump", content + longLine + '\n' + content);
        QVERIFY2(difference.isEmpty(), qPrintable(difference));
    }

    void identifiersAreListedOnceAndByText()
    {
        QVector<CanFrames> frames(5);
        frames[0].frameId = 0x7ff;
        frames[1].frameId = 0x18daf110;
        frames[2].frameId = 0x12;
        frames[3].frameId = -1;
        FrameIndex index;
        IdentifierList list;
        index.extend(frames);
        const QStringList first{"0x000", "0x012", "0x18daf110", "0x7ff", "0xffffffffffffffff"};
        QCOMPARE(list.takeNew(index.identifiers()), first);
        frames.append(frames[0]);
        frames.append(frames[0]);
        frames[6].frameId = 0x11;
        index.extend(frames);
        QCOMPARE(list.takeNew(index.identifiers()), QStringList("0x011"));
        QCOMPARE(index.positions(0x7ff), (QVector<int>{0, 5}));
    }
};

QTEST_APPLESS_MAIN(TestTraces)
#include "tst_traces.moc"
