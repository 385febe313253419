// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/channelcount.h"
#include "formats/configurationblock.h"
#include "schema/configuration.pb.h"

#include <QTest>
#include <QtEndian>

namespace {

std::string blockOf(const std::string& message, quint32 length)
{
    std::string block(sizeof(length), '\0');
    qToLittleEndian(length, block.data());
    return block + message;
}

std::string blockOf(const std::string& message)
{
    return blockOf(message, static_cast<quint32>(message.size()));
}

template <typename Entry>
void fill(Entry* entry, const std::string& name, int channel, int type, unsigned int number)
{
    entry->set_name(name);
    entry->set_logchannel(channel);
    entry->set_type(static_cast<decltype(entry->type())>(type));
    entry->set_number(number);
}

std::string inputMessage(
    const std::string& name, int channel, int type = 0, unsigned int number = 3)
{
    xcu::ConfigData configuration;
    fill(configuration.add_inputs(), name, channel, type, number);
    return configuration.SerializeAsString();
}

// "channel=label" of each entry, in order.
QStringList read(const std::string& block)
{
    QStringList texts;
    for (const ChannelLabel& label : readChannelLabels(block)) {
        texts << QString::number(label.channel) + '=' + label.text;
    }
    return texts;
}

} // namespace

class TestConfigurationBlock : public QObject
{
    Q_OBJECT

private slots:
    void emptyBlocks();
    void labels_data();
    void labels();
    void typeWords();
    void channelsOutsideTheLoggerAreSkipped();
    void inputsComeBeforeOutputs();
    void lengthsAndDamage_data();
    void lengthsAndDamage();
};

void TestConfigurationBlock::emptyBlocks()
{
    const std::string message = inputMessage("Oil", 1);
    for (const std::string& block :
         {std::string(), std::string("\x01\0\0", 3), blockOf(message, 0xFFFFFFFF),
          blockOf("", 0xFFFFFFFF)}) {
        QVERIFY(isEmptyConfigurationBlock(block));
        QVERIFY(readChannelLabels(block).empty());
    }
    QVERIFY(!isEmptyConfigurationBlock(blockOf(""))); // a block without entries is backed up
    QVERIFY(!isEmptyConfigurationBlock(blockOf(message, 0xFFFFFFFE)));
}

void TestConfigurationBlock::labels_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("label");

    QTest::newRow("named") << QByteArray("Oil pressure") << "Oil pressure (ADC3)";
    QTest::newRow("without a name the number is lost") << QByteArray() << "ADC";
    QTest::newRow("marker in the name is filled") << QByteArray("Load %1") << "Load ADC (3%3)";
    QTest::newRow("high marker in the name stays") << QByteArray("Load %7") << "Load %7 (ADC3)";
    QTest::newRow("UTF-8") << QByteArray("\xc3\x96l") << QString::fromUtf8("\xc3\x96l (ADC3)");
    QTest::newRow("up to a zero byte") << QByteArray("Oil\0pump", 8) << "Oil (ADC3)";
    QTest::newRow("zero byte alone is a name") << QByteArray("\0", 1) << " (ADC3)";
    QTest::newRow("separator and line end stay") << QByteArray("a;\nb") << "a;\nb (ADC3)";
}

void TestConfigurationBlock::labels()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, label);
    QCOMPARE(read(blockOf(inputMessage(name.toStdString(), 5))), QStringList("5=" + label));
}

void TestConfigurationBlock::typeWords()
{
    const QByteArray words =
        "ADC,Freq,Digital,PHW,CAN,ADC sw,Const,CMP,DIV,Isense,Duty,MapIn,AHRS,,"
        "CanObj,GR,CSl,,PWM,DAC,CAN,I,MAP,SPL,PWR,";
    constexpr int inputs = 18; // with one type too many
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
    QCOMPARE(read(blockOf(configuration.SerializeAsString())), expected);

    for (const int type : {-1, std::numeric_limits<int>::min(), 1000000}) {
        QCOMPARE(read(blockOf(inputMessage("n", 5, type))), QStringList("5=n (3)"));
        QCOMPARE(read(blockOf(inputMessage("", 5, type))), QStringList("5="));
    }
}

void TestConfigurationBlock::channelsOutsideTheLoggerAreSkipped()
{
    for (const int channel : {-1, -2, std::numeric_limits<int>::min(), ChannelTotal, 1 << 30}) {
        QVERIFY(read(blockOf(inputMessage("n", channel))).isEmpty());
    }
    QCOMPARE(read(blockOf(inputMessage("n", 127))), QStringList("127=n (ADC3)"));
    QCOMPARE(read(blockOf(inputMessage("n", 0))), QStringList("0=n (ADC3)")); // absent on the wire
}

void TestConfigurationBlock::inputsComeBeforeOutputs()
{
    xcu::ConfigData configuration;
    fill(configuration.add_outputs(), "out", 7, 0, 1);
    fill(configuration.add_inputs(), "late", 9, 0, 1);
    fill(configuration.add_inputs(), "in", 7, 0, 1);
    QCOMPARE(
        read(blockOf(configuration.SerializeAsString())),
        QStringList({"9=late (ADC1)", "7=in (ADC1)", "7=out (PWM1)"}));
}

void TestConfigurationBlock::lengthsAndDamage_data()
{
    QTest::addColumn<QByteArray>("block");
    QTest::addColumn<QStringList>("labels");

    const std::string one = inputMessage("one", 1);
    const std::string both = one + inputMessage("two", 2);
    const auto row = [](const char* name, const std::string& block, const QStringList& labels) {
        QTest::newRow(name) << QByteArray::fromStdString(block) << labels;
    };
    row("bytes behind the length are ignored", blockOf(both, static_cast<quint32>(one.size())),
        {"1=one (ADC3)"});
    row("length beyond the bytes", blockOf(one, 0xFFFFFFFC), {"1=one (ADC3)"});
    row("length zero", blockOf(one, 0), {});
    // The entry that the damage hits has its name but not yet its channel, and relabels channel 0.
    row("cut inside an entry", blockOf(both.substr(0, one.size() + 8)),
        {"1=one (ADC3)", "0=two (ADC0)"});
    row("name that is not UTF-8", blockOf(one + inputMessage("\xff", 2)),
        {"1=one (ADC3)", QString::fromUtf8("0=\xff (ADC0)")});
    row("garbage", blockOf("\xff\xff\xff\xff"), {});
}

void TestConfigurationBlock::lengthsAndDamage()
{
    QFETCH(QByteArray, block);
    QTEST(read(block.toStdString()), "labels");
}

QTEST_APPLESS_MAIN(TestConfigurationBlock)
#include "tst_configurationblock.moc"
