// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"
#include "formats/configurationblock.h"
#include "formats/logfile.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"
#include "schema/configuration.pb.h"

#include <QtTest>
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

CanSignalData signalOf(
    int offset, int length, int mode, int muxOffset = 0, int muxLength = 0, qint64 muxValue = 0)
{
    return {0, offset, length, 1, 0, true, muxOffset, muxLength, muxValue, mode, -1, ""};
}

std::string input(const std::string& name, int channel, int type = 0, unsigned number = 3)
{
    xcu::ConfigData configuration;
    xcu::Input& entry = *configuration.add_inputs();
    entry.set_name(name);
    entry.set_logchannel(channel);
    entry.set_type(static_cast<decltype(entry.type())>(type));
    entry.set_number(number);
    return configuration.SerializeAsString();
}

std::string output(const std::string& name, int channel, int type)
{
    return '\x12' + input(name, channel, type).substr(1); // the same fields in the other list
}

// "channel=label" of each entry of a block, in order, separated by "|".
QString labels(const std::string& message, quint32 length)
{
    std::string block(4, '\0');
    qToLittleEndian(length, block.data());
    QStringList texts;
    for (const ChannelLabel& label : readChannelLabels(block + message)) {
        texts << QString::number(label.channel) + '=' + label.text;
    }
    return texts.join('|');
}

} // namespace

class TestTexts : public QObject
{
    Q_OBJECT

private slots:
    // What databases name is held against their own decoder where the converter is tested.
    void oddSignals()
    {
        constexpr auto none = std::nullopt; // the frame does not carry the signal
        const QList<std::tuple<QByteArray, CanSignalData, std::optional<double>>> rows = {
            {"ff", signalOf(4, 16, UnsignedLeastFirst), 15}, // goes on behind the frame's end
            // The top bit of 32 fills the 32 above, bit 32 falls on bit 0, 64 have no sign.
            {"00000080", signalOf(0, 32, UnsignedLeastFirst), 0xffffffff80000000},
            {"0000000001", signalOf(0, 33, UnsignedLeastFirst), 1},
            {"ffffffffffffffff", signalOf(0, 64, SignedLeastFirst), std::ldexp(1, 64)},
            {"12fe", signalOf(8, 8, SignedLeastFirst), -2},
            // The bytes of a single lie on top of one another, each bit at its place in its byte.
            {"02040880ff", signalOf(0, 32, SinglePrecision), std::ldexp(0x8e, -149)},
            {"f001020408", signalOf(4, 32, SinglePrecisionToo), std::ldexp(0xff, -149)},
            {"ffffffff", signalOf(0, 31, SinglePrecision), 0},
            {"ff", signalOf(0, 8, -1), 0},
            {"12", signalOf(0, 4, SignedMostFirst, 0, 4, 2), none},
            {"12", signalOf(0, 4, UnsignedLeastFirst, 0, 0, 99), 2}, // no multiplexer
            // Bit 31 fills those above, and a field reads 0 before the frame and behind it.
            {"00000080", signalOf(0, 1, SignedLeastFirst, 0, 32, -2147483648), 0},
            {"12", signalOf(0, 4, UnsignedLeastFirst, -4, 8, 0x20), 2},
            {"12", signalOf(0, 4, UnsignedMostFirst, -4, 8, 0x01), 1},
            {"12", signalOf(0, 4, UnsignedLeastFirst, 508, 8, 0), 2},
            // A loop over the bits of these would take minutes.
            {"12", signalOf(0, 4, UnsignedMostFirst, IntMin + 8, IntMax, 9), 1},
            {"12", signalOf(0, 4, UnsignedMostFirst, IntMax, IntMax, 0), 1},
            {"120000000080", signalOf(0, 4, UnsignedLeastFirst, 0, IntMax, 0x8012), 2},
            {"12", signalOf(0, 4, SinglePrecision, 0, 4, 0), 0},
        };
        for (const auto& [bytes, signal, expected] : rows) {
            QVERIFY2(signalValue(signal, frameOf(bytes)) == expected, bytes);
        }
        for (const auto& [offset, length] :
             {std::pair{505, 8}, {-1, 8}, {0, 0}, {IntMax, IntMax}}) {
            QVERIFY(!isDrawable(signalOf(offset, length, UnsignedLeastFirst)));
        }
        QVERIFY(isDrawable(signalOf(504, 8, UnsignedLeastFirst)));
    }

    void curves()
    {
        QVector<CanFrames> frames{frameOf("05", 1.0), frameOf("0700", 3.0), frameOf("060000", 2.0)};
        CanSignalData signal = signalOf(0, 8, UnsignedLeastFirst);
        const auto curve = [&] {
            QString points;
            FrameIndex index;
            drawSignal(signal, frames, index, [&points](double time, double value) {
                points += QString("(%1,%2)").arg(time).arg(value);
            });
            return points;
        };
        QCOMPARE(curve(), "(1,5)(3,5)(3,7)(2,7)(2,6)");
        signal.requiredLength = 2;
        QCOMPARE(curve(), "(3,7)");
    }

    void signalCells()
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
            {MuxOffsetColumn, "", false, "3"},
            {MuxValueColumn, "-1", true, "0xffffffffffffffff"},
            {RequiredLengthColumn, " 12 ", true, "12"},
            {NameColumn, "a;b", false, "a;b"},
        };
        for (const auto& [column, typed, changes, text] : rows) {
            CanSignalData signal{0x7ff, 4, 8, 0.1, -40.0, true, 3, 5, 0x1f, 1, -1, "name"};
            QCOMPARE(applySignalCell(signal, column, typed) == CellEdit::Changed, changes);
            QCOMPARE(signalCellText(signal, column), text);
            const int shown = column == MuxValueColumn ? 2 : 0; // loaded without "0x"
            QCOMPARE(loadedSignalCellText(signal, column), text.mid(shown));
        }
    }

    void signalSets()
    {
        QByteArray content(
            "\t0x1;;;1e400;-1e400\n2;1;1;1,5;\xc2\xa0"
            "1;1;1;1;80000000;1;A\0;B\n0x18daf110;-1;2;0.1;1e6;6;3;4;f;7;\xc3\x96 %1;%12\r\n"
            " \r\n3\n",
            106);
        QBuffer device(&content);
        device.open(QIODevice::ReadOnly);
        QVector<CanSignalData> read = readSignalSet(device);
        QCOMPARE(read.size(), 3);
        read[0].muxValue = -5;
        read[2].multiplier = 0.123456789;
        QCOMPARE(
            QString(signalSet(read)),
            QString("0x1;0;0;inf;-inf;0;0;0;0xfffffffffffffffb;0;;%12\r\n"
                    "0x2;1;1;0;1;1;1;1;0x0;1;A;%12\r\n"
                    "0x18daf110;-1;2;0.123457;1e+06;6;3;4;0xf;7;\u00d6 %1;%12\r\n"));
    }

    void channelLabels()
    {
        const std::string one = input("one", 1);
        const std::string two = input("two", 2);
        std::string all; // types
        for (int type = 0; type < 24; ++type) {
            all += type < 17 ? input("", 0, type) : output("", 0, type - 17);
        }
        const QList<std::pair<std::string, QString>> rows = {
            {input("", 5), "5=ADC"}, // the number is lost
            {input("Load %1", 5), "5=Load ADC (3%3)"},
            {input("\xc3\x96l;\n", 5), QStringLiteral("5=\u00d6l;\n (ADC3)")},
            {input({"Oil\0pump", 8}, 5), "5=Oil (ADC3)"},
            {input({"\0", 1}, 5), "5= (ADC3)"}, // is a name
            {input("n", 5, 5, 4294967295U), "5=n (ADC sw4294967295)"},
            {input("n", 5, 17) + input("n", 5, IntMin), "5=n (3)|5=n (3)"},
            {all, "0=ADC|0=Freq|0=Digital|0=PHW|0=CAN|0=ADC sw|0=Const|0=CMP|0=DIV|0=Isense|"
                  "0=Duty|0=MapIn|0=AHRS|0=|0=CanObj|0=GR|0=CSl|"
                  "0=PWM|0=DAC|0=CAN|0=I|0=MAP|0=SPL|0=PWR"},
            {output("n", 5, 7) + input("n", 6), "6=n (ADC3)|5=n (3)"},
            {input("n", 127) + input("n", 128) + input("n", -1), "127=n (ADC3)"},
            // The entry that the damage hits may keep its name and lose its channel.
            {one + two.substr(0, 8), "1=one (ADC3)"},
            {input("n", 0) + output("n", 0, 1).substr(0, 6), "0=n (ADC3)"},
            {input("n", 0) + two.substr(0, 10), "0=n (ADC3)|2=two (ADC0)"},
            // Latin-1, and cut within a character.
            {input("\xd6l", 2) + one, QStringLiteral("2=\ufffdl (ADC3)|1=one (ADC3)")},
            {input("\xe2\x84", 2) + one, QStringLiteral("2=\ufffd\ufffd (ADC3)|1=one (ADC3)")},
        };
        for (const auto& [message, expected] : rows) {
            QCOMPARE(labels(message, quint32(message.size())), expected);
        }
        QCOMPARE(labels(one, 0xFFFFFFFF), ""); // never written
        QCOMPARE(labels(one, 0xFFFFFFFC), "1=one (ADC3)");
        QCOMPARE(labels(one + two, quint32(one.size())), "1=one (ADC3)");
    }

    // What the console writes down of usual records and frames is compared from end to end.
    void oddLines()
    {
        std::string line;
        composeLogLine(line, 4294967295U, 0, std::vector<int>(200, IntMin));
        const QByteArray values = QByteArray("-2147483648;").repeated(200);
        QCOMPARE(line.c_str(), "4294967295;0;" + values + '\n');
        QCOMPARE(logTagLine(IntMin, "%1 %2"), QByteArray("$;-2147483648;%1 %2\n"));
        composeCandumpLine(line, -3, -1, 0x12, true, true, false, std::string(5000, '\x11'));
        QCOMPARE(line.c_str(), "(-0.001000) can-3 00000012##0" + QByteArray(10000, '1') + '\n');
        composeCandumpLine(line, IntMin, IntMin, -1, false, false, true, "");
        QCOMPARE(line.c_str(), "(-2147483.648000) can-2147483648 ffffffffffffffff#\n");
        QCOMPARE(candumpStatusText(IntMin, -3), "Received can-3 frame #ffffffff80000000");
        // Any time may come out of a trace; 1/128 is midway between two sixth decimals.
        for (const double time : {-1e300, qInf(), 1.0 / 128}) {
            composeImportedFrameLine(line, time, 2, 0x7, "\xff");
            QCOMPARE(line.c_str(), '(' + QByteArray::number(time, 'f', 6) + ") can2   7#ff\n");
        }
    }
};

QTEST_APPLESS_MAIN(TestTexts)
#include "tst_texts.moc"
