// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signaldecoder.h"
#include "formats/signalset.h"

#include <QBuffer>
#include <QTest>
#include <cmath>
#include <cstring>

using namespace formats;

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

QString textOf(std::optional<double> value)
{
    return value ? QString::number(*value, 'g', 17) : "none";
}

} // namespace

class TestSignals : public QObject
{
    Q_OBJECT

private slots:
    void values()
    {
        const QList<std::tuple<QByteArray, CanSignalData, double>> rows = {
            {"1234", signalOf(4, 8, UnsignedLeastFirst), 0x41},
            {"1234", signalOf(4, 8, UnsignedMostFirst), 0x23},
            {"0ff8", signalOf(4, 8, SignedLeastFirst), -128},
            {"0ff8", signalOf(4, 9, SignedMostFirst), -1},
            {"ff", signalOf(4, 16, UnsignedLeastFirst), 15}, // goes on behind the frame's end
            // The top bit of 32 fills the 32 above, bit 32 falls on bit 0, 64 have no sign.
            {"00000080", signalOf(0, 32, UnsignedLeastFirst), 0xffffffff80000000},
            {"0000000001", signalOf(0, 33, UnsignedLeastFirst), 1},
            {"ffffffffffffffff", signalOf(0, 64, SignedLeastFirst), std::ldexp(1, 64)},
            // The bytes of a single lie on top of one another, each bit at its place in its byte.
            {"0102048000", signalOf(0, 32, SinglePrecision), std::ldexp(0x87, -149)},
            {"f001020408", signalOf(4, 32, SinglePrecisionToo), std::ldexp(0xff, -149)},
            {"ffffffff", signalOf(0, 31, SinglePrecision), 0},
            {"ff", signalOf(0, 8, -1), 0},
        };
        for (const auto& [bytes, signal, value] : rows) {
            QCOMPARE(textOf(signalValue(signal, frameOf(bytes))), textOf(value));
        }
        for (const auto& [offset, length] :
             {std::pair{505, 8}, {-1, 8}, {0, 0}, {IntMax, IntMax}}) {
            QVERIFY(!isDrawable(signalOf(offset, length, UnsignedLeastFirst)));
        }
        QVERIFY(isDrawable(signalOf(504, 8, UnsignedLeastFirst)));
    }

    void curves()
    {
        QVector<CanFrames> frames{frameOf("05", 1.0), frameOf("0700", 3.0), frameOf("06", 2.0)};
        frames.append(frames[2]);
        frames[3].frameId = 1;
        CanSignalData signal = signalOf(0, 8, UnsignedLeastFirst);
        signal.multiplier = 0.5;
        signal.addend = 1.0;
        const auto curve = [&] {
            QString points;
            FrameIndex index;
            drawSignal(signal, frames, index, [&points](double time, double value) {
                points += QString("(%1,%2)").arg(time).arg(value);
            });
            return points;
        };
        QCOMPARE(curve(), "(1,3.5)(3,3.5)(3,4.5)(2,4.5)(2,4)");
        signal.requiredLength = 2;
        QCOMPARE(curve(), "(3,4.5)");
        signal.plotted = false;
        QCOMPARE(curve(), "");
    }

    void multiplexers()
    {
        // Offset, length and value of the field, mode of the signal, whether the frame carries it.
        const QList<std::tuple<int, int, qint64, int, bool>> rows = {
            {0, 4, 2, UnsignedLeastFirst, true},
            {0, 4, 1, UnsignedMostFirst, true},
            {0, 4, 2, SignedMostFirst, false},
            {0, 0, 99, UnsignedLeastFirst, true},          // no multiplexer
            {16, 32, -2147483648, SignedLeastFirst, true}, // bit 31 fills those above
            {-4, 8, 0x20, UnsignedLeastFirst, true},       // reads 0 before the frame
            {-4, 8, 0x01, UnsignedMostFirst, true},
            {508, 8, 0, UnsignedLeastFirst, true}, // and behind it
            // A loop over the bits of these would take minutes.
            {IntMin + 8, IntMax, 9, UnsignedMostFirst, true},
            {IntMax, IntMax, 0, UnsignedMostFirst, true},
            {0, IntMax, 0x8012, UnsignedLeastFirst, true},
            {0, 4, 0, SinglePrecision, true},
        };
        for (const auto& [offset, length, value, mode, carries] : rows) {
            CanSignalData signal = signalOf(0, 32, mode);
            signal.muxOffset = offset;
            signal.muxLength = length;
            signal.muxValue = value;
            QCOMPARE(signalValue(signal, frameOf("120000000080")).has_value(), carries);
        }
    }

    void cells()
    {
        // Column, text, whether the signal changes, and the text that the table would put back.
        const QList<std::tuple<int, QString, bool, QString>> rows = {
            {FrameIdColumn, "1A0", true, "0x1a0"},
            {FrameIdColumn, "-1", true, "0xffffffffffffffff"},
            {FrameIdColumn, "80000000", false, "0x7ff"},
            {BitLengthColumn, "0x10", false, "8"},
            {MultiplierColumn, "0.123456789", true, "0.123457"},
            {AddendColumn, "1,5", false, "-40"},
            {AddendColumn, "1e6", true, "1e+06"},
            {ShowModeColumn, "0", true, "0"},
            {MuxOffsetColumn, "", false, "3"},
            {MuxValueColumn, "-1", true, "0xffffffffffffffff"},
            {RequiredLengthColumn, " 12 ", true, "12"},
            {NameColumn, "a;b", false, "a;b"},
        };
        for (const auto& [column, typed, changes, text] : rows) {
            CanSignalData signal{0x7ff, 4, 8, 0.1, -40.0, true, 3, 5, 0x1f, 1, -1, "name"};
            QCOMPARE(applySignalCell(signal, column, typed) == CellEdit::Changed, changes);
            QCOMPARE(signalCellText(signal, column), text);
            QCOMPARE(signal.plotted, column != ShowModeColumn);
            QCOMPARE(
                loadedSignalCellText(signal, column),
                column == MuxValueColumn ? text.mid(2) : text);
        }
    }

    void sets()
    {
        QByteArray content(
            "\t0x1;x\n2;1;1;1,5;\xc2\xa0"
            "1;1;1;1;80000000;1;A\0;B\n0x18daf110;-1;2;0.1;1e6;6;3;4;f;7;\xc3\x96 %1;%12\r\n"
            " \r\n3\n",
            93);
        QBuffer device(&content);
        device.open(QIODevice::ReadOnly);
        QVector<CanSignalData> read = readSignalSet(device);
        QCOMPARE(read.size(), 3);
        read[0].muxValue = -5;
        read[2].multiplier = 0.123456789;
        QCOMPARE(
            QString(signalSet(read)),
            QString("0x1;0;0;0;0;0;0;0;0xfffffffffffffffb;0;;%12\r\n"
                    "0x2;1;1;0;1;1;1;1;0x0;1;A;%12\r\n"
                    "0x18daf110;-1;2;0.123457;1e+06;6;3;4;0xf;7;\u00d6 %1;%12\r\n"));
    }
};

QTEST_APPLESS_MAIN(TestSignals)
#include "tst_signals.moc"
