// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"
#include "formats/logline.h"

#include <QTest>
#include <limits>
#include <random>

namespace {

constexpr int IntMin = std::numeric_limits<int>::min();
constexpr int IntMax = std::numeric_limits<int>::max();

// Numbers of every length, both signs.
int anyNumber()
{
    static std::mt19937 random(1);
    return static_cast<int>(random()) >> (random() % 32);
}

QString idText(int canId, int width, char fill)
{
    return QStringLiteral("%1").arg(canId, width, 16, QLatin1Char(fill));
}

} // namespace

// Lines are defined by patterns and what is filled into them; that is what they are compared with.
class TestTextLines : public QObject
{
    Q_OBJECT

private slots:
    void records()
    {
        std::string line;
        for (const std::size_t count : {128U, 0U, 1U, 200U, 64U}) {
            std::vector<int> values(count, IntMin);
            std::generate(values.begin(), values.begin() + count / 2, anyNumber);
            for (const unsigned int timestamp : {0U, 0x80000000U, 0xFFFFFFFFU}) {
                composeLogLine(line, ~timestamp, timestamp, values);
                QString filled = QStringLiteral("%1;%2;").arg(~timestamp).arg(timestamp);
                for (const int value : values) {
                    filled += QStringLiteral("%1;").arg(value);
                }
                QCOMPARE(QString::fromStdString(line), filled + '\n');
            }
        }
    }

    void headerAndTags()
    {
        QCOMPARE(
            logHeaderLine({"Oil (ADC3)", "x", "", QStringLiteral("%1 \u00b5;\n")}),
            QByteArray("#;timestamp;Oil (ADC3);x;;%1 \xc2\xb5;\n;\n"));
        QCOMPARE(logTagLine(5230011, "Hard shift"), QByteArray("$;5230011;Hard shift\n"));
        QCOMPARE(logTagLine(IntMin, "%1 %2"), QByteArray("$;-2147483648;%1 %2\n"));
    }

    void captureForms_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<QByteArray>("flags"); // e: extended, f: FD, b: bit rate switch
        QTest::addColumn<QByteArray>("line");

        const auto row = [](const char* name, int id, const char* flags, const char* line) {
            QTest::newRow(name) << id << QByteArray(flags) << QByteArray(line);
        };
        row("payload keeps its digits", 0x12, "", "(12.345000) can1 012#0102aa\n");
        row("extended", 0x12, "e", "(12.345000) can1 00000012#0102aa\n");
        row("wide id is not cut", 0x12345, "", "(12.345000) can1 12345#0102aa\n");
        row("bit 31 set", IntMin, "", "(12.345000) can1 ffffffff80000000#0102aa\n");
        row("FD with switch", 0x123, "fb", "(12.345000) can1 123##10102aa\n");
        row("FD without switch", 0x123, "f", "(12.345000) can1 123##00102aa\n");
        row("switch without FD", 0x123, "b", "(12.345000) can1 123#0102aa\n");
    }

    void captureForms()
    {
        QFETCH(int, id);
        QFETCH(QByteArray, flags);
        std::string line;
        composeCandumpLine(
            line, 1, 12345, id, flags.contains('e'), flags.contains('f'), flags.contains('b'),
            "\x01\x02\xaa");
        QTEST(QByteArray::fromStdString(line), "line");
    }

    void frameLines()
    {
        std::string line;
        std::vector<int> times = {0, -1, 9, -10, 999, -999, 1000, IntMax, IntMin};
        std::generate_n(std::back_inserter(times), 2000, anyNumber);
        // 1/128 lies midway between two sixth decimals.
        const std::vector<double> foreignTimes = {1.0 / 128, -1e300, qInf(), qQNaN(), -0.0};
        for (std::size_t i = 0; i < times.size(); ++i) {
            const int id = anyNumber();
            const bool extended = i % 2 == 0;
            const std::string data(i % 99 == 0 ? 4096 : i % 9, static_cast<char>(id));
            const QString bus = QString::number(anyNumber());
            const QString hex = QString::fromLatin1(QByteArray::fromStdString(data).toHex());

            composeCandumpLine(line, bus.toInt(), times[i], id, extended, false, true, data);
            const QString ms = QString::number(times[i] / 1000.0, 'f', 6);
            QCOMPARE(
                QString::fromStdString(line),
                QStringLiteral("(%1) can%2 %3#%4\n")
                    .arg(ms, bus, idText(id, extended ? 8 : 3, '0'), hex));

            const double time = i < foreignTimes.size() ? foreignTimes[i] : times[i] / 1000.0;
            composeImportedFrameLine(line, time, bus.toInt(), id, data);
            QCOMPARE(
                QString::fromStdString(line),
                QStringLiteral("(%1) can%2 %3#%4\n")
                    .arg(QString::number(time, 'f', 6), bus, idText(id, 3, ' '), hex));

            QCOMPARE(
                candumpStatusText(id, bus.toInt()),
                QStringLiteral("Received can%2 frame #%1").arg(idText(id, 3, ' '), bus));
        }
    }
};

QTEST_APPLESS_MAIN(TestTextLines)
#include "tst_textlines.moc"
