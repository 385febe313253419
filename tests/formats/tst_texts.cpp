// SPDX-License-Identifier: GPL-3.0-or-later

// Texts of configuration blocks, log lines and captured frames.
#include "formats/candumpline.h"
#include "formats/configurationblock.h"
#include "formats/logline.h"
#include "schema/configuration.pb.h"

#include <QTest>
#include <QtEndian>

using namespace formats;

namespace {

constexpr int IntMin = std::numeric_limits<int>::min();

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
    std::string entry = input(name, channel, type);
    entry[0] = '\x12'; // the same fields in the other list
    return entry;
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
            {input("n", 5, 13) + input("n", 5, 16), "5=n (3)|5=n (CSl3)"},
            {input("n", 5, 17) + input("n", 5, IntMin), "5=n (3)|5=n (3)"},
            {all, "0=ADC|0=Freq|0=Digital|0=PHW|0=CAN|0=ADC sw|0=Const|0=CMP|0=DIV|0=Isense|"
                  "0=Duty|0=MapIn|0=AHRS|0=|0=CanObj|0=GR|0=CSl|"
                  "0=PWM|0=DAC|0=CAN|0=I|0=MAP|0=SPL|0=PWR"},
            {output("n", 5, 7) + input("n", 6), "6=n (ADC3)|5=n (3)"},
            {input("n", 127) + input("n", 128) + input("n", -1), "127=n (ADC3)"},
            {input("n", IntMin) + input("n", 0), "0=n (ADC3)"},
            // The entry that the damage hits has its name but not its channel: it relabels channel
            // 0.
            {one + two.substr(0, 8), "1=one (ADC3)|0=two (ADC0)"},
            {one + input("\xff", 2), QStringLiteral("1=one (ADC3)|0=\ufffd (ADC0)")},
        };
        for (const auto& [message, expected] : rows) {
            QCOMPARE(labels(message, quint32(message.size())), expected);
        }
        QCOMPARE(labels(one, 0xFFFFFFFF), ""); // never written
        QCOMPARE(labels(one, 0xFFFFFFFC), "1=one (ADC3)");
        QCOMPARE(labels(one + two, quint32(one.size())), "1=one (ADC3)");
    }

    void logLines()
    {
        std::string line;
        composeLogLine(line, 4294967295U, 4294967295U, std::vector<int>(200, IntMin));
        const QByteArray values = QByteArray("-2147483648;").repeated(200);
        QCOMPARE(QByteArray::fromStdString(line), "4294967295;4294967295;" + values + '\n');
        QCOMPARE(
            logHeaderLine({"x", "", QStringLiteral("%1 \u00b5;\n")}),
            QByteArray("#;timestamp;x;;%1 \xc2\xb5;\n;\n"));
        QCOMPARE(logTagLine(IntMin, "%1 %2"), QByteArray("$;-2147483648;%1 %2\n"));
    }

    void frames()
    {
        std::string line;
        // Time, bus, identifier, whether extended, FD and with another bit rate, the line.
        const QList<std::tuple<int, int, int, bool, bool, bool, QString>> rows = {
            {12345, 1, 0x12, false, false, true, "(12.345000) can1 012#7f80\n"},
            {0, 0, 0x18daf110, true, true, true, "(0.000000) can0 18daf110##17f80\n"},
            {-1, -3, 0x12, true, true, false, "(-0.001000) can-3 00000012##07f80\n"},
            {IntMin, IntMin, -1, false, false, false,
             "(-2147483.648000) can-2147483648 ffffffffffffffff#7f80\n"},
            {1050, 0, 0xabcd, false, false, false, "(1.050000) can0 abcd#7f80\n"},
        };
        for (const auto& [time, bus, id, isExtended, isFd, isFast, expected] : rows) {
            composeCandumpLine(line, bus, time, id, isExtended, isFd, isFast, "\x7f\x80");
            QCOMPARE(QString::fromStdString(line), expected);
        }
        composeCandumpLine(line, 1, 1, 1, false, false, false, std::string(5000, '\x11'));
        QCOMPARE(QString::fromStdString(line), "(0.001000) can1 001#" + QString(10000, '1') + '\n');
        QCOMPARE(candumpStatusText(IntMin, -3), "Received can-3 frame #ffffffff80000000");
        // Any time may come out of a trace; 1/128 is midway between two sixth decimals.
        for (const double time : {-1e300, qInf(), 1.0 / 128}) {
            composeImportedFrameLine(line, time, 2, 0x7, "\xff");
            QCOMPARE(
                QString::fromStdString(line),
                QString("(%1) can2   7#ff\n").arg(QString::number(time, 'f', 6)));
        }
    }
};

QTEST_APPLESS_MAIN(TestTexts)
#include "tst_texts.moc"
