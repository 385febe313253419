// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"

#include <QTest>
#include <limits>
#include <random>

namespace {

constexpr int IntMin = std::numeric_limits<int>::min();
constexpr int IntMax = std::numeric_limits<int>::max();

QString hexText(const std::string& payload)
{
    return QString::fromLatin1(QByteArray::fromStdString(payload).toHex());
}

QString idText(int canId, int width, char fill)
{
    return QStringLiteral("%1").arg(canId, width, 16, QLatin1Char(fill));
}

// The definitions of the lines, one fill of all places together.
QByteArray filledCapture(
    int bus, int ms, int id, bool ext, bool fd, bool brs, const std::string& data)
{
    return QStringLiteral("(%1) can%2 %3#%5%4\n")
        .arg(
            QString::number(ms / 1000.0, 'f', 6), QString::number(bus),
            idText(id, ext ? 8 : 3, '0'), hexText(data),
            fd ? QString::fromLatin1(brs ? "#1" : "#0") : QString())
        .toUtf8();
}

QByteArray filledImport(double seconds, int bus, int id, const std::string& data)
{
    return QStringLiteral("(%1) can%2 %3#%4\n")
        .arg(
            QString::number(seconds, 'f', 6), QString::number(bus), idText(id, 3, ' '),
            hexText(data))
        .toUtf8();
}

} // namespace

class TestCandumpLine : public QObject
{
    Q_OBJECT

private slots:
    void captureForms_data();
    void captureForms();
    void linesEqualFilledPatterns();
    void timesOfForeignTraces();
    void statusTexts();
};

void TestCandumpLine::captureForms_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QByteArray>("flags"); // e: extended, f: FD, b: bit rate switch
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<QByteArray>("line");

    const auto row = [](const char* name, int id, const char* flags, const char* payload,
                        const char* line) {
        QTest::newRow(name) << id << QByteArray(flags) << QByteArray::fromHex(payload)
                            << QByteArray(line);
    };
    row("digits of the payload stay whole", 0x12, "", "0102aa", "(12.345000) can1 012#0102aa\n");
    row("extended", 0x18daf110, "e", "0102aa", "(12.345000) can1 18daf110#0102aa\n");
    row("extended is filled to eight", 0x12, "e", "", "(12.345000) can1 00000012#\n");
    row("wide id is not cut", 0x1234, "", "ff", "(12.345000) can1 1234#ff\n");
    row("FD with switch", 0x123, "fb", "aabb", "(12.345000) can1 123##1aabb\n");
    row("FD without switch", 0x123, "f", "0102", "(12.345000) can1 123##00102\n");
    row("FD without data", 0x123, "f", "", "(12.345000) can1 123##0\n");
    row("switch without FD", 0x123, "b", "aabb", "(12.345000) can1 123#aabb\n");
    row("no data", 0x123, "", "", "(12.345000) can1 123#\n");
    row("bit 31 set", IntMin, "", "", "(12.345000) can1 ffffffff80000000#\n");
}

void TestCandumpLine::captureForms()
{
    QFETCH(int, id);
    QFETCH(QByteArray, flags);
    QFETCH(QByteArray, payload);
    std::string line;
    composeCandumpLine(
        line, 1, 12345, id, flags.contains('e'), flags.contains('f'), flags.contains('b'),
        payload.toStdString());
    QTEST(QByteArray::fromStdString(line), "line");
}

void TestCandumpLine::linesEqualFilledPatterns()
{
    std::mt19937 random(1);
    std::string line;
    std::vector<int> times = {0, 1, -1, 9, -10, 999, -999, 1000, -1001, IntMax, IntMin, IntMin + 1};
    for (int i = 0; i < 3000; ++i) {
        times.push_back(static_cast<int>(random()) >> (random() % 32));
    }
    for (const int ms : times) {
        const int bus = static_cast<int>(random()) >> (random() % 32);
        const int id = static_cast<int>(random()) >> (random() % 32);
        const bool ext = random() % 2 != 0;
        const bool fd = random() % 2 != 0;
        const bool brs = random() % 2 != 0;
        const std::string data(
            random() % 7 == 0 ? 4096 : random() % 9, static_cast<char>(random()));

        composeCandumpLine(line, bus, ms, id, ext, fd, brs, data);
        QCOMPARE(QByteArray::fromStdString(line), filledCapture(bus, ms, id, ext, fd, brs, data));
        composeImportedFrameLine(line, ms / 1000.0, bus, id, data);
        QCOMPARE(QByteArray::fromStdString(line), filledImport(ms / 1000.0, bus, id, data));
    }
}

void TestCandumpLine::timesOfForeignTraces()
{
    std::string line;
    // 1/128 lies midway between two sixth decimals.
    for (const double seconds : {1.0 / 128, -1e300, qInf(), qQNaN(), -0.0, 1e-7}) {
        composeImportedFrameLine(line, seconds, 2, 0x12, "\xaa");
        QCOMPARE(QByteArray::fromStdString(line), filledImport(seconds, 2, 0x12, "\xaa"));
    }
}

void TestCandumpLine::statusTexts()
{
    QCOMPARE(candumpStatusText(0x12, 1), QStringLiteral("Received can1 frame # 12"));
    QCOMPARE(candumpStatusText(0x18daf110, -7), QStringLiteral("Received can-7 frame #18daf110"));
    QCOMPARE(
        candumpStatusText(-1, IntMin),
        QStringLiteral("Received can-2147483648 frame #ffffffffffffffff"));
}

QTEST_APPLESS_MAIN(TestCandumpLine)
#include "tst_candumpline.moc"
