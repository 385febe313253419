// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/frameindex.h"
#include "formats/textfield.h"
#include "formats/traceformat.h"
#include "support/importcheck.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QStringList kinds{".txt", ".candump", ".trc", ".csv", ".asc", ".trace"};
const QByteArray csvHead("TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n");

struct Result
{
    QString frames; // separated by "|"
    QString status;
    QString diagnosis;
    QByteArray conversion;
};

Result read(const QString& fileName)
{
    Result result;
    QVector<CanFrames> frames;
    QBuffer conversion(&result.conversion);
    conversion.open(QIODevice::WriteOnly);
    const auto trace = [&result](std::string_view line) { result.diagnosis += textOf(line) + '|'; };
    TraceImport import{frames, trace, &conversion};
    result.status = readTraceFile(*traceFormat(fileName), fileName, import);
    for (const CanFrames& frame : frames) {
        result.frames += describe(frame, 8) + '|';
    }
    return result;
}

Result read(const QString& kind, const QByteArray& content)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(kind));
    file.open(QIODevice::WriteOnly);
    file.write(content);
    file.close();
    return read(file.fileName());
}

} // namespace

class TestTraces : public QObject
{
    Q_OBJECT

private slots:
    void kindIsTheEndOfTheName()
    {
        QCOMPARE(traceFormat("a.log.csv")->nameEnd, ".csv");
        QCOMPARE(traceFormat("/x.trc/a.trace")->nameEnd, ".trace");
        for (const char* other : {"a.TXT", "candump", "a.rbx", "a.csv.log", ""}) {
            QVERIFY(traceFormat(other) == nullptr);
        }
    }

    void samples()
    {
        // A frame keeps what the one before it had behind its own bytes.
        const QString drive = "0 can%1 123 [3] 0102aa|0.01 can%1 7ff [8] 1122334455667788"
                              "|0.025 can%1 a [0] 1122334455667788"
                              "|1.5 can%1 123 [3] 0302aa4455667788"
                              "|2 can%1 456 [1] ff02aa4455667788|";
        const QString milliseconds = QString(drive)
                                         .replace("|0.01 ", "|10 ")
                                         .replace("|0.025", "|25")
                                         .replace("|1.5", "|1500")
                                         .replace("|2 ", "|2000 ");
        const QString headers = "0 can0 0 [0] |0 can0 0 [0] |0 can0 0 [0] |";
        const std::tuple<const char*, const char*, QString> rows[] = {
            {"drive.candump", "Read candump file. 5 canbus frames", drive.arg(0)},
            {"drive.trc", "Read trc file. 5 canbus frames", drive.arg(0)},
            {"drive.csv", "Read csv file. 5 canbus frames", drive.arg(0)},
            {"drive.trace", "Read candump file. 5 canbus frames", drive.arg(1)},
            {"drive.txt", "Read txt file. 5 canbus frames", milliseconds.arg(0)},
            {"pythoncan.candump", "Read candump file. 5 canbus frames", drive.arg(0)},
            {"log2asc.asc", "Read candump file. 8 canbus frames", headers + drive.arg(2)},
        };
        for (const auto& [file, status, frames] : rows) {
            const Result result = read(QString(XCU_TEST_DATA_DIR "/") + file);
            QCOMPARE(result.frames, frames);
            QCOMPARE(result.status, status);
        }
    }

    void oddReadings()
    {
        struct Row
        {
            const char* name;
            const char* kind;
            QByteArray content;
            QString frames;
        };
        const Row rows[] = {
            {"empty line ends", ".candump", "(1) c 1#02\n \t\r\n(1) c 1#02\n", "0 can0 1 [1] 02|"},
            {"bare CR ends no line", ".candump", "(1) c 1#02\r(1) c 1#03\n", "0 can0 1 [2] 0021|"},
            {"byte order marks", ".candump", "\xef\xbb\xbf(1) c 1#02\n\xef\xbb\xbf(2) c 1#02\n",
             "0 can0 1 [1] 02|-1 can0 1 [1] 02|"},
            {"UTF-16", ".candump", QByteArray("\xff\xfe(\0001\0)\0 \0c\0 \0001\0#\0000\0002\0", 22),
             "0 can0 1 [1] 02|"},
            {"FD digit is a byte", ".candump", "(1.5) can1 123##1aabb\n", "0 can0 123 [3] 01aabb|"},
            {"remote frame, wide identifiers", ".candump",
             "(1) c 7fffffff#R\n2) c 0x10#7\n3 c 80000000#\n4",
             "0 can0 7fffffff [0] |1 can0 10 [1] 07|2 can0 0 [0] 07|3 can0 0 [0] 07|"},
            {"cut at 64 bytes", ".candump", "(1) c 1#" + QByteArray(130, '1'),
             "0 can0 1 [65] " + QString(128, '1') + '|'},
            {"midnight", ".txt", "23:59:59.999 -> CAN:i=10:n=9:1:23\n00:00:00.000 -> C:i=16::ff\n",
             "0 can0 a [2] 0123|-86399999 can0 10 [0] 0123|"},
            {"no time", ".txt", "1:00:00.000 -> C:i=0x10:n=0:ff\n01:00:00.000 ->  -> C:i=2:n=0:1",
             "0 can0 0 [1] ff|0 can0 2 [1] 01|"},
            {"LF alone makes one frame", ".trc", "1,5\tR\t1\t1\t1\t02\n2,5\tR\t1\t1\t1\t03\n",
             "0 can0 1 [1] 0225|"},
            {"stated length, short lines", ".trc",
             "1\tR\t1\t1\t3\t010203\r\n\r\n2\tR\t\t1\t1\t3\taa\r\n2,5\t8\r\n\t",
             "0 can0 1 [3] 010203|1 can0 1 [3] aa0203|1.5 can0 0 [0] aa0203|"},
            {"without column names", ".csv", csvHead.toLower() + "R,1,1,2,,,,,,,,,1,10\n", ""},
            {"! is 0, gaps close up", ".csv",
             csvHead + "R,1000,1,1,2,3,,,,,,,1\nR,1!23,1,1FF,,,,, ,,2,,1\n",
             "0 can0 1 [3] 010203|23 can0 1 [3] ff0002|"},
            {"other lines repeat the frame", ".asc",
             "5.0 1 7 Rx d 1 ff\n6.0 2 7 Rx d 2 f\n7.0 1 8 Rx d 1 ee\nEnd\n"
             "8 CANFD 3 Rx 1ffx n 1 0 99 1\n9 2 8 Rx d -5 1 2\n",
             "0 can0 0 [0] |1 can2 7 [2] 0f|2 can2 7 [2] 0f|-5 can2 7 [2] 0f|3 can1 0 [99] 01"
             "|4 can2 8 [-5] 01|"},
            {"base behind comments, missing bytes", ".trace",
             ";x\n1) 500.5 Rx 1 2 3\n;\n2) 1500.5 Rx 2 0 3\n3) x",
             "0 can1 1 [2] 03|1 can1 2 [0] 03|-0.5005 can1 0 [0] 03|"},
        };
        for (const auto& [name, kind, content, frames] : rows) {
            const QString result = read(kind, content).frames;
            QVERIFY2(result == frames, qPrintable(name + QStringLiteral(": ") + result));
        }
    }

    void diagnosisAndConversion()
    {
        QCOMPARE(
            read(".csv", csvHead + "R,\xc2\xb5,,,,,,,,,,\n").diagnosis,
            QStringLiteral("csv file!|Found start marker|Invalid line >R,\u00b5,,,,,,,,,,<|"));
        QCOMPARE(read(".trc", "").diagnosis, "trc file!|");
        QCOMPARE(
            read(".asc", "0 2 a Rx d 1 ff\n1e9 CANFD 3 Rx 1f n 1 0 0\n").conversion,
            QByteArray("(0.000000) can2   a#ff\n(1000000000.000000) can1  1f#\n"));
    }

    void unreadable()
    {
        const QTemporaryDir folder;
        for (const QString& kind : kinds) {
            QVERIFY(QDir(folder.path()).mkdir(kind));
            QVERIFY(read(folder.filePath(kind)).status.endsWith(" file. 0 canbus frames"));
            QVERIFY(read("/none/a" + kind).status.endsWith(" file. 0 canbus frames"));
        }
    }

    // Whatever is not plain goes through Qt; this finds out whether what is plain is so for Qt.
    void numbers()
    {
        std::mt19937 random(1);
        const QString alphabet("0123456789012345678901234567899aFxX..-+eE \t,inN\u00a0");
        for (int i = 0; i < 40000; ++i) {
            QString text;
            for (unsigned size = random() % 22; size > 0; --size) {
                text += alphabet.at(static_cast<int>(random() % 48));
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

    void damagedAndLongFiles()
    {
        std::mt19937 random(2);
        for (const QString& kind : kinds) {
            QFile file(XCU_TEST_DATA_DIR + (kind == ".asc" ? "/log2asc.asc" : "/drive" + kind));
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray sample = file.readAll();
            for (int i = 0; i < 1000; ++i) {
                const QByteArray content = damaged(sample, random);
                const QString difference = traceDifference(kind, content);
                QVERIFY2(difference.isEmpty(), qPrintable(kind + difference + content));
            }
        }
        QByteArray blocks;
        for (int i = 0; i < 10000; ++i) {
            blocks += "(1.5) can1 " + QByteArray::number(i, 16) + "#0102\n";
        }
        const QByteArray longLine = "(1) can0 1#" + QByteArray(10'000'000, 'a') + '\n';
        QVERIFY(traceDifference(".candump", blocks + longLine + blocks).isEmpty());
    }

    void framesAreIndexedOnce()
    {
        QVector<CanFrames> frames(7);
        for (int i = 0; i < frames.size(); ++i) {
            frames[i].frameId = QVector<int>{0x7ff, 0x18daf110, 0x12, -1, 0, 0x7ff, 0x12}[i];
        }
        FrameIndex index;
        index.extend(frames.mid(0, 5));
        index.extend(frames);
        QCOMPARE(index.positions(0x7ff), (QVector<int>{0, 5}));
        QCOMPARE(index.positions(1), QVector<int>());
        QStringList texts = index.identifierTexts();
        texts.sort();
        QCOMPARE(texts.join(' '), QString("0x000 0x012 0x18daf110 0x7ff 0xffffffffffffffff"));
    }
};

QTEST_APPLESS_MAIN(TestTraces)
#include "tst_traces.moc"
