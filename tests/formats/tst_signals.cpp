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

QVector<CanSignalData> setOf(QByteArray content)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    return readSignalSet(device);
}

} // namespace

class TestSignals : public QObject
{
    Q_OBJECT

private slots:
    void values()
    {
        struct Row
        {
            const char* name;
            const char* bytes;
            int offset;
            int length;
            int mode;
            double value;
        };
        const double denormal = std::ldexp(1.0, -149);
        const Row rows[] = {
            {"least significant first", "1234", 4, 8, 1, 0x41},
            {"most significant first", "1234", 4, 8, 2, 0x23},
            {"signed", "0ff8", 4, 8, 3, -128},
            {"signed, most significant first", "0ff8", 3, 9, 4, 255},
            {"behind the frame's end", "ff", 4, 16, 1, 0xf},
            {"last bit of 64 bytes", "", 504, 8, 1, 0},
            {"32 bits, top bit set", "00000080", 0, 32, 1, 18446744071562067968.0},
            {"32 bits, signed", "00000080", 0, 32, 3, -2147483648.0},
            {"bit 32 falls on bit 0", "0000000001", 0, 33, 1, 1},
            {"64 bits are never negative", "ffffffffffffffff", 0, 64, 3, 18446744073709551615.0},
            {"single: bytes on top of one another", "0102048000", 0, 32, 5, 0x87 * denormal},
            {"single keeps places within bytes", "f001020408", 4, 32, 6, 0xff * denormal},
            {"single of 31 bits", "ffffffff", 0, 31, 5, 0},
            {"mode that there is not", "ff", 0, 8, -1, 0}};
        for (const Row& row : rows) {
            const CanSignalData signal = signalOf(row.offset, row.length, row.mode);
            FrameIndex index;
            const auto curve = signalCurve(signal, {frameOf(row.bytes)}, index);
            QVERIFY2(curve.has_value() && curve->size() == 1, row.name);
            QVERIFY2((*curve)[0].value == row.value, row.name);
        }
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
        for (const auto& [offset, length, least, most] :
             {std::tuple{0, IntMax, all, all},
              {IntMin, IntMax, quint64{0}, quint64{0}},
              {IntMin + 8, IntMax, quint64{0x7f000000}, quint64{0x7f}},
              {IntMax, IntMax, quint64{0}, quint64{0}},
              {0, IntMin, quint64{0}, quint64{0}}}) {
            QCOMPARE(reader.leastSignificantFirst(offset, length), least);
            QCOMPARE(reader.mostSignificantFirst(offset, length), most);
        }
        CanFrames huge = frameOf("ff");
        huge.length = IntMax;
        QCOMPARE(FieldReader(huge).leastSignificantFirst(0, 8), quint64{0xff});
        huge.length = IntMin;
        QCOMPARE(FieldReader(huge).leastSignificantFirst(0, 8), quint64{0});
    }

    void cells()
    {
        struct Row
        {
            int column;
            const char* typed;
            bool changes;
            const char* text; // that the table would put back
        };
        const Row rows[] = {
            {FrameIdColumn, "1A0", true, "0x1a0"},
            {FrameIdColumn, "0x7ff", false, "0x7ff"},
            {FrameIdColumn, "-1", true, "0xffffffffffffffff"},
            {FrameIdColumn, "80000000", false, "0x7ff"},
            {BitOffsetColumn, " 12 ", true, "12"},
            {BitLengthColumn, "0x10", false, "8"},
            {MultiplierColumn, "0.123456789", true, "0.123457"},
            {MultiplierColumn, "1e6", true, "1e+06"},
            {AddendColumn, "1,5", false, "-40"},
            {AddendColumn, "-40.0", false, "-40"},
            {AddendColumn, "nan", true, "nan"},
            {ShowModeColumn, "0", true, "0"},
            {MuxOffsetColumn, "", false, "3"},
            {MuxLengthColumn, "-4", true, "-4"},
            {MuxValueColumn, "-1", true, "0xffffffffffffffff"},
            {MuxValueColumn, "ffffffff", false, "0x1f"},
            {RequiredLengthColumn, "-1", false, "-1"},
            {NameColumn, "a;b", false, "a;b"}};
        for (const auto& [column, typed, changes, text] : rows) {
            CanSignalData signal{0x7ff, 4, 8, 0.1, -40.0, true, 3, 5, 0x1f, 1, -1, "name"};
            const CellEdit edit = applySignalCell(signal, column, typed);
            QVERIFY2((edit == CellEdit::Changed) == changes, typed);
            QCOMPARE(edit == CellEdit::Renamed, column == NameColumn);
            QCOMPARE(signalCellText(signal, column), text);
            QCOMPARE(
                loadedSignalCellText(signal, column), text + (column == MuxValueColumn ? 2 : 0));
            QCOMPARE(signal.plotted, column != ShowModeColumn);
        }
    }

    void signalSets()
    {
        QFile file(XCU_TEST_DATA_DIR "/signals.csv");
        QCOMPARE(readSignalSet(file).size(), 0); // not open
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray sample = file.readAll();
        // The last line of the sample has no twelfth field.
        QCOMPARE(signalSet(setOf(sample)), sample.left(sample.size() - 2) + ";%12\r\n");
        QCOMPARE(setOf(sample).value(1).signalName, QStringLiteral("\u00d6l 100%1"));

        const CanSignalData odd{0x18daf110, -1, 2, 0.123456789, 1e6, true, 3, 4, -5, 6, 7, "a;b"};
        const QByteArray line(
            "0x18daf110;-1;2;0.123457;1e+06;6;3;4;0xfffffffffffffffb;7;a;b;%12\r\n");
        QCOMPARE(signalSet({odd}), line);
        QCOMPARE(setOf(line).value(0).muxValue, qint64{0});
        QVERIFY(!setOf(line).value(0).plotted);

        const QVector<CanSignalData> shortLines = setOf(QByteArray(
            "\t0x1;x\n2;1;1;1,5;\xc2\xa0"
            "1;1;1;1;-1;1;A\0;B\n \r\n3\n",
            38));
        QCOMPARE(shortLines.size(), 2);
        QCOMPARE(
            signalSet(shortLines), QByteArray("0x1;0;0;0;0;0;0;0;0x0;0;;%12\r\n"
                                              "0x2;1;1;0;1;1;1;1;0xffffffffffffffff;1;A;%12\r\n"));
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
