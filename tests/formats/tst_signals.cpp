// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/arrivalorder.h"
#include "formats/fieldreader.h"
#include "formats/signalcells.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"
#include "support/importcheck.h"

#include <QBuffer>
#include <QTest>
#include <cstring>
#include <limits>
#include <qcustomplot.h>

namespace {

constexpr int IntMin = std::numeric_limits<int>::min();
constexpr int IntMax = std::numeric_limits<int>::max();

CanFrames frameOf(const QByteArray& hex, double time = 0.0)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    CanFrames frame;
    frame.frameTime = time;
    frame.length = bytes.size();
    std::memcpy(frame.payload, bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return frame;
}

CanSignalData signalOf(int offset, int length, int mode)
{
    CanSignalData signal;
    signal.bitOffset = offset;
    signal.bitLength = length;
    signal.showMode = mode;
    signal.plotted = true;
    signal.multiplier = 1.0;
    return signal;
}

} // namespace

class TestSignals : public QObject
{
    Q_OBJECT

private slots:
    void values_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("mode");
        QTest::addColumn<double>("value");
        const auto row = [](const char* name, const char* bytes, int offset, int length, int mode,
                            double value) {
            QTest::newRow(name) << QByteArray(bytes) << offset << length << mode << value;
        };
        row("least significant first", "1234", 4, 8, 1, 0x41);
        row("most significant first", "1234", 4, 8, 2, 0x23);
        row("signed", "0ff8", 4, 8, 3, -128);
        row("signed, most significant first", "0ff8", 3, 9, 4, 255);
        row("behind the frame's end", "ff", 4, 16, 1, 0xf);
        row("last bit of 64 bytes", "", 504, 8, 1, 0);
        row("32 bits, top bit set", "00000080", 0, 32, 1, 18446744071562067968.0);
        row("32 bits, signed", "00000080", 0, 32, 3, -2147483648.0);
        row("bit 32 falls on bit 0", "0000000001", 0, 33, 1, 1);
        row("64 bits are never negative", "ffffffffffffffff", 0, 64, 3, 18446744073709551615.0);
        row("single: bytes on top of one another", "0102048000", 0, 32, 5,
            0x87 * std::ldexp(1.0, -149));
        row("single keeps places within bytes", "f001020408", 4, 32, 6,
            0xff * std::ldexp(1.0, -149));
        row("single of 31 bits", "ffffffff", 0, 31, 5, 0);
        row("mode that there is not", "ff", 0, 8, -1, 0);
    }

    void values()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, offset);
        QFETCH(int, length);
        QFETCH(int, mode);
        FrameIndex index;
        const auto curve = signalCurve(signalOf(offset, length, mode), {frameOf(bytes)}, index);
        QVERIFY(curve.has_value());
        QCOMPARE(curve->size(), std::size_t(1));
        QTEST((*curve)[0].value, "value");
    }

    void curveIsAStaircase()
    {
        QVector<CanFrames> frames{frameOf("05", 1.0), frameOf("0700", 3.0), frameOf("06", 2.0)};
        frames.append(frames[2]);
        frames[3].frameId = 1;
        FrameIndex index;
        CanSignalData signal = signalOf(0, 8, 1);
        signal.multiplier = 0.5;
        signal.addend = 1.0;
        QString text;
        const Staircase curve = signalCurve(signal, frames, index).value();
        for (std::size_t i = 0; i < curve.size(); ++i) {
            text += QStringLiteral("(%1,%2)").arg(curve[i].key).arg(curve[i].value);
        }
        QCOMPARE(text, "(1,3.5)(3,3.5)(3,4.5)(2,4.5)(2,4)");
        signal.requiredLength = 2;
        QCOMPARE(signalCurve(signal, frames, index)->size(), std::size_t(1));
        signal.plotted = false;
        QCOMPARE(signalCurve(signal, frames, index)->size(), std::size_t(0));
        for (const auto& [offset, length] :
             {std::pair{505, 8}, {-1, 8}, {0, 0}, {0, IntMax}, {IntMax, IntMax}}) {
            signal.bitOffset = offset;
            signal.bitLength = length;
            QVERIFY(!signalCurve(signal, frames, index).has_value());
        }
    }

    // Any geometry of signal and multiplexer over frames of any stated length.
    void curvesOfAllKinds()
    {
        std::mt19937 random(1);
        const auto below = [&random](int bound) {
            return static_cast<int>(random() % static_cast<unsigned>(bound));
        };
        int matches = 0;
        for (int i = 0; i < 20000; ++i) {
            CanFrames frame = frameOf("", i);
            for (unsigned char& byte : frame.payload) {
                byte = static_cast<unsigned char>(below(3) == 0 ? 0xff : below(256));
            }
            frame.length = below(4) == 0 ? below(90) - 10 : 64;
            CanSignalData signal =
                signalOf(below(512), 1 + below(below(2) == 0 ? 70 : 512), below(8));
            signal.muxOffset = below(700) - 100;
            signal.muxLength = below(3) == 0 ? 0 : below(200) - 20;
            const auto mux = [&](const FieldReader& reader) {
                return signal.showMode % 2 == 1
                           ? reader.leastSignificantFirst(signal.muxOffset, signal.muxLength)
                           : reader.mostSignificantFirst(signal.muxOffset, signal.muxLength);
            };
            signal.muxValue = below(4) == 0 ? 0 : static_cast<qint64>(mux(FieldReader(frame)));
            const QString difference = curveDifference(signal, {frame, frame});
            QVERIFY2(difference.isEmpty(), qPrintable(difference));
            FrameIndex index;
            const auto curve = signalCurve(signal, {frame}, index);
            matches += curve.has_value() && curve->size() > 0 ? 1 : 0;
        }
        QVERIFY(matches > 1000);
    }

    // A loop over the bits of these would take minutes.
    void hugeFields()
    {
        const CanFrames full = frameOf(QByteArray(128, 'f'));
        const FieldReader reader(full);
        const auto all = ~quint64{0};
        QCOMPARE(reader.leastSignificantFirst(0, IntMax), all);
        QCOMPARE(reader.leastSignificantFirst(IntMin, IntMax), quint64{0});
        QCOMPARE(reader.leastSignificantFirst(IntMax, IntMax), quint64{0});
        QCOMPARE(reader.mostSignificantFirst(IntMin, IntMax), quint64{0});
        QCOMPARE(reader.mostSignificantFirst(IntMin + 8, IntMax), quint64{0x7f});
        QCOMPARE(reader.mostSignificantFirst(0, IntMax), all);
        QCOMPARE(reader.mostSignificantFirst(IntMax, IntMax), quint64{0});
        QCOMPARE(reader.mostSignificantFirst(0, IntMin), quint64{0});
        CanFrames huge = frameOf("ff");
        huge.length = IntMax;
        QCOMPARE(FieldReader(huge).leastSignificantFirst(0, 8), quint64{0xff});
        huge.length = IntMin;
        QCOMPARE(FieldReader(huge).leastSignificantFirst(0, 8), quint64{0});
    }

    void cells_data()
    {
        QTest::addColumn<int>("column");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("changes");
        QTest::addColumn<QString>("text"); // that the table would put back
        const auto row = [](int column, const char* typed, bool changes, const char* text) {
            QTest::addRow("%d: %s", column, typed) << column << typed << changes << text;
        };
        row(FrameIdColumn, "1A0", true, "0x1a0");
        row(FrameIdColumn, "0x7ff", false, "0x7ff");
        row(FrameIdColumn, "-1", true, "0xffffffffffffffff");
        row(FrameIdColumn, "80000000", false, "0x7ff");
        row(BitOffsetColumn, " 12 ", true, "12");
        row(BitLengthColumn, "0x10", false, "8");
        row(MultiplierColumn, "0.123456789", true, "0.123457");
        row(MultiplierColumn, "1e6", true, "1e+06");
        row(AddendColumn, "1,5", false, "-40");
        row(AddendColumn, "-40.0", false, "-40");
        row(AddendColumn, "nan", true, "nan");
        row(ShowModeColumn, "0", true, "0");
        row(MuxOffsetColumn, "", false, "3");
        row(MuxLengthColumn, "-4", true, "-4");
        row(MuxValueColumn, "-1", true, "0xffffffffffffffff");
        row(MuxValueColumn, "ffffffff", false, "0x1f");
        row(RequiredLengthColumn, "-1", false, "-1");
        row(NameColumn, "a;b", false, "a;b");
    }

    void cells()
    {
        QFETCH(int, column);
        QFETCH(QString, typed);
        QFETCH(bool, changes);
        CanSignalData signal{0x7ff, 4, 8, 0.1, -40.0, true, 3, 5, 0x1f, 1, -1, "name"};
        const CellEdit edit = applySignalCell(signal, column, typed);
        QCOMPARE(edit == CellEdit::Changed, changes);
        QCOMPARE(edit == CellEdit::Renamed, column == NameColumn);
        QTEST(signalCellText(signal, column), "text");
        QCOMPARE(signal.plotted, column != ShowModeColumn);
        QCOMPARE(
            loadedSignalCellText(signal, column),
            signalCellText(signal, column).mid(column == MuxValueColumn ? 2 : 0));
    }

    void signalSets()
    {
        QFile file(XCU_TEST_DATA_DIR "/signals.csv");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray sample = file.readAll();
        file.seek(0);
        QVector<CanSignalData> signalList = readSignalSet(file);
        QCOMPARE(signalList.size(), 3);
        QVERIFY(!signalList[1].plotted);
        QCOMPARE(signalList[1].signalName, QStringLiteral("\u00d6l 100%1"));
        // The last line of the sample has no twelfth field.
        QCOMPARE(signalSet(signalList), sample.left(sample.size() - 2) + ";%12\r\n");

        signalList.resize(1);
        signalList[0] = {0x18daf110, -1, 2, 0.123456789, 1e6, true, 3, 4, -5, 6, 7, "a;b"};
        QByteArray written = signalSet(signalList);
        QCOMPARE(
            written,
            QByteArray("0x18daf110;-1;2;0.123457;1e+06;6;3;4;0xfffffffffffffffb;7;a;b;%12\r\n"));
        QBuffer device(&written);
        device.open(QIODevice::ReadOnly);
        QCOMPARE(readSignalSet(device)[0].muxValue, qint64{0});
        QCOMPARE(signalSet({}), QByteArray());
    }

    void shortSignalSets()
    {
        QByteArray content(
            "\t0x1;x\n2;1;1;1,5;\xc2\xa0"
            "1;1;1;1;-1;1;A\0;B\n \r\n3\n",
            38);
        QBuffer device(&content);
        device.open(QIODevice::ReadOnly);
        const QVector<CanSignalData> signalList = readSignalSet(device);
        QCOMPARE(signalList.size(), 2);
        QCOMPARE(signalList[0].frameId, 1);
        QCOMPARE(signalList[0].requiredLength, 0);
        QCOMPARE(signalList[1].multiplier, 0.0);
        QCOMPARE(signalList[1].addend, 1.0);
        QCOMPARE(signalList[1].muxValue, qint64{-1});
        QCOMPARE(signalList[1].signalName, "A");
        QFile closed;
        QCOMPARE(readSignalSet(closed).size(), 0);
    }

    // Against the chart's own container, point by point: late points, ties, files opened twice, and
    // keys that are no numbers.
    void pointsComeInArrivalOrder()
    {
        std::mt19937 random(1);
        for (int round = 0; round < 2000; ++round) {
            QCPGraphDataContainer single;
            QCPGraphDataContainer bulk;
            for (int batch = 0; batch < 3; ++batch) {
                std::vector<GraphPoint> arrivals;
                for (int size = static_cast<int>(random() % 30); size > 0; --size) {
                    const double key = random() % 6;
                    const bool isNan = round % 4 == 0 && random() % 20 == 0;
                    arrivals.push_back({isNan ? qQNaN() : key, static_cast<double>(random())});
                    single.add(QCPGraphData(arrivals.back().key, arrivals.back().value));
                }
                addInArrivalOrder(bulk, arrivals);
                QCOMPARE(bulk.size(), single.size());
                for (int i = 0; i < single.size(); ++i) {
                    QCOMPARE(bulk.at(i)->value, single.at(i)->value);
                }
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestSignals)
#include "tst_signals.moc"
