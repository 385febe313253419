// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/channelcolour.h"
#include "formats/channelcount.h"
#include "formats/configurationblock.h"
#include "schema/configuration.pb.h"

#include <QTest>
#include <QtEndian>

namespace {

std::string block(const std::string& message, std::size_t length)
{
    std::string bytes(4, '\0');
    qToLittleEndian(static_cast<quint32>(length), bytes.data());
    return bytes + message;
}

std::string block(const std::string& message)
{
    return block(message, message.size());
}

template <typename Entry>
void fill(Entry* entry, const std::string& name, int channel, int type, unsigned int number = 3)
{
    entry->set_name(name);
    entry->set_logchannel(channel);
    entry->set_type(static_cast<decltype(entry->type())>(type));
    entry->set_number(number);
}

std::string input(const std::string& name, int channel, int type = 0)
{
    xcu::ConfigData configuration;
    fill(configuration.add_inputs(), name, channel, type);
    return configuration.SerializeAsString();
}

// "channel=label" of each entry, in order.
QStringList read(const std::string& bytes)
{
    QStringList texts;
    for (const ChannelLabel& label : readChannelLabels(bytes)) {
        texts << QString::number(label.channel) + '=' + label.text;
    }
    return texts;
}

} // namespace

class TestChannels : public QObject
{
    Q_OBJECT

private slots:
    void labels_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("label");

        QTest::newRow("named") << QByteArray("Oil pressure") << "Oil pressure (ADC3)";
        QTest::newRow("without a name the number is lost") << QByteArray() << "ADC";
        QTest::newRow("marker in the name is filled") << QByteArray("Load %1") << "Load ADC (3%3)";
        QTest::newRow("UTF-8") << QByteArray("\xc3\x96l;\n") << QStringLiteral("\u00d6l;\n (ADC3)");
        QTest::newRow("up to a zero byte") << QByteArray("Oil\0pump", 8) << "Oil (ADC3)";
        QTest::newRow("zero byte alone is a name") << QByteArray("\0", 1) << " (ADC3)";
    }

    void labels()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, label);
        QCOMPARE(read(block(input(name.toStdString(), 5))), QStringList("5=" + label));
    }

    void inputsThenOutputsWithTheirWords()
    {
        const QByteArray words = "ADC,Freq,Digital,PHW,CAN,ADC sw,Const,CMP,DIV,Isense,Duty,MapIn,"
                                 "AHRS,,CanObj,GR,CSl,,PWM,DAC,CAN,I,MAP,SPL,PWR,";
        constexpr int inputs = 18; // with one type too many, as among the outputs
        xcu::ConfigData configuration;
        QStringList expected;
        for (const QByteArray& word : words.split(',')) {
            const int i = expected.size();
            if (i < inputs) {
                fill(configuration.add_inputs(), "n", i, i, 4294967295U);
            } else {
                fill(configuration.add_outputs(), "n", i, i - inputs, 4294967295U);
            }
            expected << QString::number(i) + "=n (" + word + "4294967295)";
        }
        QCOMPARE(read(block(configuration.SerializeAsString())), expected);
        for (const int type : {-1, std::numeric_limits<int>::min(), 1000000}) {
            QCOMPARE(read(block(input("n", 5, type))), QStringList("5=n (3)"));
        }
    }

    void channelsOutsideTheLoggerAreSkipped()
    {
        for (const int channel : {-1, -2, std::numeric_limits<int>::min(), 128, 1 << 30}) {
            QVERIFY(read(block(input("n", channel))).isEmpty());
        }
        QCOMPARE(read(block(input("n", 127) + input("n", 0))).size(), 2); // 0 is not on the wire
    }

    void lengthsAndDamage_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isEmpty");
        QTest::addColumn<QStringList>("labels");

        const std::string one = input("one", 1);
        const std::string two = one + input("two", 2);
        const auto row = [](const char* name, const std::string& bytes, bool isEmpty,
                            const QStringList& labels) {
            QTest::newRow(name) << QByteArray::fromStdString(bytes) << isEmpty << labels;
        };
        row("never written", block(one, 0xFFFFFFFF), true, {});
        row("no whole length", "\x01", true, {});
        row("length zero", block(one, 0), false, {});
        row("more bytes than the length", block(two, one.size()), false, {"1=one (ADC3)"});
        row("length near 4 GiB", block(one, 0xFFFFFFFC), false, {"1=one (ADC3)"});
        // The entry that the damage hits has its name but not its channel: it relabels channel 0.
        row("cut inside an entry", block(two.substr(0, one.size() + 8)), false,
            {"1=one (ADC3)", "0=two (ADC0)"});
        row("name is not UTF-8", block(one + input("\xff", 2)), false,
            {"1=one (ADC3)", QStringLiteral("0=\ufffd (ADC0)")});
        row("garbage", block("\xff\xff\xff\xff"), false, {});
    }

    void lengthsAndDamage()
    {
        QFETCH(QByteArray, bytes);
        QTEST(isEmptyConfigurationBlock(bytes.toStdString()), "isEmpty");
        QTEST(read(bytes.toStdString()), "labels");
    }

    void coloursAreCutNotRounded()
    {
        QCOMPARE(channelColour(0), QColor(100, 164, 156));
        QCOMPARE(channelColour(3), QColor(178, 159, 197));
        QCOMPARE(channelColour(127), QColor(139, 199, 190));
    }

    void noValidChoiceAsksFor64Channels()
    {
        const std::vector<int> counts = {64, 32, 64, 96, 128, 64};
        for (int index = -1; index <= 4; ++index) {
            QCOMPARE(channelCountOfChoice(index), counts.at(static_cast<std::size_t>(index + 1)));
        }
    }
};

QTEST_APPLESS_MAIN(TestChannels)
#include "tst_channels.moc"
