// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"
#include "formats/canframes.h"
#include "formats/logline.h"

#include <QTest>
#include <random>

using namespace formats;

namespace {

constexpr int IntMin = std::numeric_limits<int>::min();

// Numbers of every length, both signs.
int anyNumber()
{
    static std::mt19937 random(1);
    return static_cast<int>(random()) >> (random() % 32);
}

} // namespace

// Lines are defined by patterns and what is filled into them; that is what they are compared with.
class TestTextLines : public QObject
{
    Q_OBJECT

private slots:
    void logLines()
    {
        std::string line;
        for (const std::size_t count : {128U, 0U, 1U, 200U, 64U}) {
            std::vector<int> values(count, IntMin);
            std::generate(values.begin(), values.begin() + count / 2, anyNumber);
            const unsigned int timestamp = 0xFFFFFFFFU - count;
            composeLogLine(line, ~timestamp, timestamp, values);
            QString filled = QString("%1;%2;").arg(~timestamp).arg(timestamp);
            for (const int value : values) {
                filled += QString("%1;").arg(value);
            }
            QCOMPARE(QString::fromStdString(line), filled + '\n');
        }
        QCOMPARE(
            logHeaderLine({"Oil (ADC3)", "x", "", QStringLiteral("%1 \u00b5;\n")}),
            QByteArray("#;timestamp;Oil (ADC3);x;;%1 \xc2\xb5;\n;\n"));
        QCOMPARE(logTagLine(IntMin, "%1 %2"), QByteArray("$;-2147483648;%1 %2\n"));
    }

    void frameLines()
    {
        std::string line;
        // 1/128 lies midway between two sixth decimals.
        const std::vector<double> foreignTimes = {1.0 / 128, -1e300, qInf(), qQNaN(), -0.0};
        for (std::size_t i = 0; i < 2000; ++i) {
            CanFrames frame;
            const int ms = i == 0 ? IntMin : anyNumber();
            frame.busNumber = anyNumber();
            frame.frameId = i == 1 ? IntMin : anyNumber();
            frame.length = static_cast<int>(i % 65);
            std::generate_n(frame.payload, frame.length, anyNumber);
            const std::string bytes(frame.payload, frame.payload + frame.length);
            const double time = i < foreignTimes.size() ? foreignTimes[i] : ms / 1000.0;
            composeImportedFrameLine(line, time, frame.busNumber, frame.frameId, bytes);
            const QString payload = QByteArray::fromStdString(bytes).toHex();
            const QString imported = QString("(%1) can%2 %3#%4\n")
                                         .arg(QString::number(time, 'f', 6))
                                         .arg(frame.busNumber)
                                         .arg(frame.frameId, 3, 16)
                                         .arg(payload);
            QCOMPARE(QString::fromStdString(line), imported);

            const bool isExtended = i % 2 == 0;
            const bool isFd = i % 3 == 0; // without which the bit rate switch does not show
            composeCandumpLine(
                line, frame.busNumber, ms, frame.frameId, isExtended, isFd, i % 5 == 0, bytes);
            const QString captured = QString("(%1) can%2 %3#%4%5\n")
                                         .arg(QString::number(ms / 1000.0, 'f', 6))
                                         .arg(frame.busNumber)
                                         .arg(frame.frameId, isExtended ? 8 : 3, 16, QChar('0'))
                                         .arg(isFd ? i % 5 == 0 ? "#1" : "#0" : "")
                                         .arg(payload);
            QCOMPARE(QString::fromStdString(line), captured);
            const QString status = candumpStatusText(frame.frameId, frame.busNumber);
            QCOMPARE(
                status,
                QString("Received can%2 frame #%1").arg(frame.frameId, 3, 16).arg(frame.busNumber));
        }
    }
};

QTEST_APPLESS_MAIN(TestTextLines)
#include "tst_textlines.moc"
