// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/configurationblock.h"
#include "schema/configuration.pb.h"

#include <QTest>

using namespace formats;

namespace {

std::string block(const std::string& message, unsigned int length)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(length >> shift);
    }
    return bytes + message;
}

std::string input(const std::string& name, int channel, int type = 0, int number = 3)
{
    xcu::ConfigData configuration;
    xcu::Input& entry = *configuration.add_inputs();
    entry.set_name(name);
    entry.set_logchannel(channel);
    entry.set_type(static_cast<decltype(entry.type())>(type));
    entry.set_number(static_cast<unsigned int>(number));
    return configuration.SerializeAsString();
}

// "channel=label" of each entry, in order, separated by "|".
QString labels(const std::string& bytes)
{
    QStringList texts;
    for (const ChannelLabel& label : readChannelLabels(bytes)) {
        texts << QString::number(label.channel) + '=' + label.text;
    }
    return texts.join('|');
}

QString labelsOf(const std::string& message)
{
    return labels(block(message, static_cast<unsigned int>(message.size())));
}

} // namespace

class TestChannels : public QObject
{
    Q_OBJECT

private slots:
    void names()
    {
        QCOMPARE(labelsOf(input("Oil pressure", 5)), "5=Oil pressure (ADC3)");
        QCOMPARE(labelsOf(input("", 5)), "5=ADC"); // the number is lost
        QCOMPARE(labelsOf(input("Load %1", 5)), "5=Load ADC (3%3)");
        QCOMPARE(labelsOf(input("\xc3\x96l;\n", 5)), QStringLiteral("5=\u00d6l;\n (ADC3)"));
        QCOMPARE(labelsOf(input({"Oil\0pump", 8}, 5)), "5=Oil (ADC3)");
        QCOMPARE(labelsOf(input({"\0", 1}, 5)), "5= (ADC3)"); // is a name
        for (const int type : {-1, std::numeric_limits<int>::min(), 1000000}) {
            QCOMPARE(labelsOf(input("n", 5, type)), "5=n (3)");
        }
        for (const int channel : {-1, std::numeric_limits<int>::min(), 128, 1 << 30}) {
            QCOMPARE(labelsOf(input("n", channel)), "");
        }
        QCOMPARE(labelsOf(input("n", 127) + input("n", 0)), "127=n (ADC3)|0=n (ADC3)");
    }

    void words()
    {
        const QByteArray words = "ADC,Freq,Digital,PHW,CAN,ADC sw,Const,CMP,DIV,Isense,Duty,MapIn,"
                                 "AHRS,,CanObj,GR,CSl,,PWM,DAC,CAN,I,MAP,SPL,PWR,";
        constexpr int inputs = 18; // with one type too many, as among the outputs
        std::string message;
        QStringList expected;
        for (const QByteArray& word : words.split(',')) {
            const int i = expected.size();
            std::string entry = input("n", i, i < inputs ? i : i - inputs, -1);
            entry[0] = i < inputs ? entry[0] : '\x12'; // the same as an output
            message += entry;
            expected << QString::number(i) + "=n (" + word + "4294967295)";
        }
        QCOMPARE(labelsOf(message), expected.join('|'));
    }

    void lengthsAndDamage()
    {
        const std::string one = input("one", 1);
        const auto size = static_cast<unsigned int>(one.size());
        QVERIFY(isEmptyConfigurationBlock(block(one, 0xFFFFFFFF))); // never written
        QVERIFY(isEmptyConfigurationBlock("\x01"));
        QVERIFY(!isEmptyConfigurationBlock(block(one, 0)));
        QCOMPARE(labels(block(one, 0xFFFFFFFF)), "");
        QCOMPARE(labels(block(one, 0xFFFFFFFC)), "1=one (ADC3)");
        QCOMPARE(labels(block(one + input("two", 2), size)), "1=one (ADC3)");
        // The entry that the damage hits has its name but not its channel: it relabels channel 0.
        const std::string cut = one + input("two", 2).substr(0, 8);
        QCOMPARE(labelsOf(cut), "1=one (ADC3)|0=two (ADC0)");
        QCOMPARE(labelsOf(one + input("\xff", 2)), QStringLiteral("1=one (ADC3)|0=\ufffd (ADC0)"));
        QCOMPARE(labelsOf("\xff\xff\xff\xff"), "");
    }
};

QTEST_APPLESS_MAIN(TestChannels)
#include "tst_channels.moc"
