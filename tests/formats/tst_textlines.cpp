// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/candumpline.h"
#include "formats/logline.h"

#include <QTest>
#include <limits>

using namespace formats;

namespace {

constexpr int IntMin = std::numeric_limits<int>::min();
constexpr int IntMax = std::numeric_limits<int>::max();

} // namespace

class TestTextLines : public QObject
{
    Q_OBJECT

private slots:
    void logLines()
    {
        std::string line;
        composeLogLine(line, 4294967295U, 4294967295U, std::vector<int>(200, IntMin));
        const QByteArray longest =
            "4294967295;4294967295;" + QByteArray("-2147483648;").repeated(200);
        QCOMPARE(QByteArray::fromStdString(line), longest + '\n');
        composeLogLine(line, 0, 7, {0, -1, IntMax});
        QCOMPARE(line, std::string("0;7;0;-1;2147483647;\n"));
        composeLogLine(line, 1, 8, {});
        QCOMPARE(line, std::string("1;8;\n"));
        QCOMPARE(
            logHeaderLine({"Oil (ADC3)", "x", "", QStringLiteral("%1 \u00b5;\n")}),
            QByteArray("#;timestamp;Oil (ADC3);x;;%1 \xc2\xb5;\n;\n"));
        QCOMPARE(logTagLine(IntMin, "%1 %2"), QByteArray("$;-2147483648;%1 %2\n"));
    }

    void capturedFrames()
    {
        const std::string payload("\x00\x7f\x80\xff", 4);
        std::string line;
        // Time, bus, identifier, whether extended, FD and with another bit rate, the line.
        const QList<std::tuple<int, int, int, bool, bool, bool, QString>> rows = {
            {12345, 1, 0x12, false, false, true, "(12.345000) can1 012#007f80ff\n"},
            {0, 0, 0x18daf110, true, true, true, "(0.000000) can0 18daf110##1007f80ff\n"},
            {-1, -3, 0x12, true, true, false, "(-0.001000) can-3 00000012##0007f80ff\n"},
            {IntMin, IntMin, -1, false, false, false,
             "(-2147483.648000) can-2147483648 ffffffffffffffff#007f80ff\n"},
            {IntMax, IntMax, IntMax, false, false, false,
             "(2147483.647000) can2147483647 7fffffff#007f80ff\n"},
            {1050, 0, 0xabcd, false, false, false, "(1.050000) can0 abcd#007f80ff\n"},
        };
        for (const auto& [time, bus, id, isExtended, isFd, isFast, expected] : rows) {
            composeCandumpLine(line, bus, time, id, isExtended, isFd, isFast, payload);
            QCOMPARE(QString::fromStdString(line), expected);
        }
        composeCandumpLine(line, 1, 1, 1, false, false, false, std::string(5000, '\x11'));
        QCOMPARE(QString::fromStdString(line), "(0.001000) can1 001#" + QString(10000, '1') + '\n');
        QCOMPARE(candumpStatusText(0x12, -3), "Received can-3 frame # 12");
        QCOMPARE(
            candumpStatusText(IntMin, IntMin), "Received can-2147483648 frame #ffffffff80000000");
    }

    void importedFrames()
    {
        std::string line;
        const QList<std::pair<double, QString>> times = {
            {0.0125, "0.012500"},
            {-1e300, QString::number(-1e300, 'f', 6)},
            {qInf(), "inf"},
            {1.0 / 128, "0.007813"}, // midway between two sixth decimals
        };
        for (const auto& [time, text] : times) {
            composeImportedFrameLine(line, time, 2, 0x7, "\xff");
            QCOMPARE(QString::fromStdString(line), '(' + text + ") can2   7#ff\n");
        }
    }
};

QTEST_APPLESS_MAIN(TestTextLines)
#include "tst_textlines.moc"
