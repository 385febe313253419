// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logline.h"

#include <QTest>
#include <limits>
#include <random>

namespace {

// The definition of a record: successive fills of a pattern.
QByteArray filledRecord(
    unsigned int sampleNumber, unsigned int timestamp, const std::vector<int>& values)
{
    QString line = QStringLiteral("%1;%2;").arg(sampleNumber).arg(timestamp);
    for (const int value : values) {
        line += QStringLiteral("%1;").arg(value);
    }
    return (line + '\n').toUtf8();
}

} // namespace

class TestLogLine : public QObject
{
    Q_OBJECT

private slots:
    void recordsEqualFilledPatternsInAReusedBuffer();
    void headerNamesEveryLabel();
    void tagLines_data();
    void tagLines();
};

void TestLogLine::recordsEqualFilledPatternsInAReusedBuffer()
{
    std::mt19937 random(1);
    std::string line;
    for (const std::size_t count : {128U, 0U, 1U, 200U, 64U}) {
        std::vector<int> values(count);
        for (int& value : values) {
            value = static_cast<int>(random()) >> (random() % 32);
        }
        if (count > 1) {
            values[0] = std::numeric_limits<int>::min();
            values[1] = std::numeric_limits<int>::max();
        }
        for (const unsigned int timestamp : {0U, 0x80000000U, 0xFFFFFFFFU}) {
            const auto sampleNumber = static_cast<unsigned int>(random());
            composeLogLine(line, sampleNumber, timestamp, values);
            QCOMPARE(
                QByteArray::fromStdString(line), filledRecord(sampleNumber, timestamp, values));
        }
    }
}

void TestLogLine::headerNamesEveryLabel()
{
    // Nothing in a label is filled or escaped.
    const QVector<QString> labels = {
        QStringLiteral("Oil pressure (ADC3)"), QStringLiteral("x"), QString(),
        QStringLiteral("50 %1 \u00b0C;\n")};
    QCOMPARE(
        logHeaderLine(labels), QByteArray("#;timestamp;Oil pressure (ADC3);x;;50 %1 \xc2\xb0"
                                          "C;\n;\n"));
}

void TestLogLine::tagLines_data()
{
    QTest::addColumn<int>("timestamp");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("line");

    QTest::newRow("no closing separator")
        << 5230011 << "Hard shift" << QByteArray("$;5230011;Hard shift\n");
    QTest::newRow("before the first record") << -1 << "VI0=12" << QByteArray("$;-1;VI0=12\n");
    QTest::newRow("signed from 2^31 ms on")
        << std::numeric_limits<int>::min() << "1" << QByteArray("$;-2147483648;1\n");
    QTest::newRow("marker in the text")
        << 1 << "%1 %2;\u00b5" << QByteArray("$;1;%1 %2;\xc2\xb5\n");
}

void TestLogLine::tagLines()
{
    QFETCH(int, timestamp);
    QFETCH(QString, text);
    QTEST(logTagLine(timestamp, text), "line");
}

QTEST_APPLESS_MAIN(TestLogLine)
#include "tst_logline.moc"
