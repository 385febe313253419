// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/faultsdisplay.h"
#include "comm/commandssender.h"
#include "comm/comport.h"

#include <QTableWidget>
#include <QTest>

namespace {

// The cells of a row; "-" stands for one that was never written.
QString texts(const QTableWidget& table, int row)
{
    QStringList cells;
    for (int column = 0; column < table.columnCount(); ++column) {
        const QTableWidgetItem* item = table.item(row, column);
        cells << (item != nullptr ? item->text() : QStringLiteral("-"));
    }
    return cells.join('|');
}

} // namespace

class TestFaultsDisplay : public QObject
{
    Q_OBJECT

private slots:
    void listsReplaceEachOther()
    {
        ComPort comPort;
        CommandsSender sender(comPort);
        FaultsDisplay window(sender, nullptr);
        QVERIFY(!window.testAttribute(Qt::WA_QuitOnClose)); // the main window ends the program
        const auto& table = *window.findChild<QTableWidget*>("faultList");
        QStringList titles;
        for (int column = 0; column < table.columnCount(); ++column) {
            titles << table.horizontalHeaderItem(column)->text();
        }
        QCOMPARE(
            titles.join('|'),
            QStringLiteral("Type|Mode|Category|Fault ID|Component ID|Fault Description"));

        // In an item the component stands before the fault number, in the table behind it.
        window.faultGetFaultsResp(
            {{1, 1, 65535, 7, 12},
             {2, 2, 1, 2, 3},
             {255, 3, 1, 2, 3},
             {0, 4, 0, 0, 0},
             {1, 5, 1, 2, 3}});
        QCOMPARE(table.rowCount(), 5);
        QCOMPARE(texts(table, 0), QStringLiteral("Warning|Intermitten|65535|12|7|"));
        QCOMPARE(texts(table, 1), QStringLiteral("Fault|Continuous|1|3|2|"));
        QCOMPARE(texts(table, 2), QStringLiteral("Fault|RunFault|1|3|2|"));
        QCOMPARE(texts(table, 3), QStringLiteral("Fault|Inactive|0|0|0|"));
        QCOMPARE(texts(table, 4), QStringLiteral("Warning|-|1|3|2|"));

        // A mode without a name leaves what stood there before, but not in a row that was gone.
        window.faultGetFaultsResp({{0, 0, 9, 8, 7}});
        QCOMPARE(table.rowCount(), 1);
        QCOMPARE(texts(table, 0), QStringLiteral("Fault|Intermitten|9|7|8|"));
        window.faultGetFaultsResp({});
        QCOMPARE(table.rowCount(), 0);
        window.faultGetFaultsResp({{0, 9, 9, 8, 7}});
        QCOMPARE(texts(table, 0), QStringLiteral("Fault|-|9|7|8|"));
    }
};

QTEST_MAIN(TestFaultsDisplay)
#include "tst_faultsdisplay.moc"
