// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/faultdictionary.h"
#include "app/faultsdisplay.h"
#include "comm/commandssender.h"
#include "comm/comport.h"

#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>

namespace {

// Texts of a row; "-" stands for a cell that was never written.
QStringList texts(const QTableWidget& table, int row)
{
    QStringList cells;
    for (int column = 0; column < table.columnCount(); ++column) {
        const QTableWidgetItem* item = table.item(row, column);
        cells << (item != nullptr ? item->text() : QStringLiteral("-"));
    }
    return cells;
}

FaultItemData fault(std::uint8_t type, std::uint8_t mode)
{
    return {type, mode, 65535, 7, 12};
}

} // namespace

class TestFaultsDisplay : public QObject
{
    Q_OBJECT

private slots:
    void form();
    void rowsShowTheItems_data();
    void rowsShowTheItems();
    void newListsReplaceOldOnes();

private:
    ComPort comPort; // stays closed
    CommandsSender sender{comPort};
};

void TestFaultsDisplay::form()
{
    const FaultsDisplay window(sender, nullptr);
    QCOMPARE(window.objectName(), QStringLiteral("FaultsDisplay"));
    QCOMPARE(window.windowTitle(), QStringLiteral("Form"));
    QCOMPARE(window.size(), QSize(661, 300));
    QVERIFY(!window.testAttribute(Qt::WA_QuitOnClose)); // the main window ends the program
    QCOMPARE(window.findChild<QPushButton*>("refreshButton")->text(), QStringLiteral("Refresh"));

    const auto* table = window.findChild<QTableWidget*>("faultList");
    const QStringList titles = {"Type",     "Mode",         "Category",
                                "Fault ID", "Component ID", "Fault Description"};
    QCOMPARE(table->columnCount(), titles.size());
    for (int column = 0; column < titles.size(); ++column) {
        QCOMPARE(table->horizontalHeaderItem(column)->text(), titles[column]);
    }
    QCOMPARE(table->horizontalHeader()->defaultSectionSize(), 106);
    QVERIFY(!table->wordWrap());
    QCOMPARE(table->rowCount(), 0);
}

void TestFaultsDisplay::rowsShowTheItems_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("typeText");
    QTest::addColumn<QString>("modeText");

    QTest::newRow("no mode") << 0 << 0 << "Fault"
                             << "-";
    QTest::newRow("intermittent") << 1 << 1 << "Warning"
                                  << "Intermitten";
    QTest::newRow("continuous") << 2 << 2 << "Fault"
                                << "Continuous";
    QTest::newRow("run fault") << 255 << 3 << "Fault"
                               << "RunFault";
    QTest::newRow("inactive") << 1 << 4 << "Warning"
                              << "Inactive";
    QTest::newRow("unknown mode") << 1 << 5 << "Warning"
                                  << "-";
}

void TestFaultsDisplay::rowsShowTheItems()
{
    QFETCH(int, type);
    QFETCH(int, mode);
    QFETCH(QString, typeText);
    QFETCH(QString, modeText);
    FaultsDisplay window(sender, nullptr);
    window.faultGetFaultsResp(
        {fault(static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(mode))});
    // The fault number stands before the component, other than in the item.
    QCOMPARE(
        texts(*window.findChild<QTableWidget*>("faultList"), 0),
        QStringList({typeText, modeText, "65535", "12", "7", ""}));
}

void TestFaultsDisplay::newListsReplaceOldOnes()
{
    FaultsDisplay window(sender, nullptr);
    auto* table = window.findChild<QTableWidget*>("faultList");
    window.faultGetFaultsResp({fault(1, 1), fault(1, 2), fault(1, 3)});
    window.faultGetFaultsResp({fault(0, 9), fault(0, 4)});
    QCOMPARE(table->rowCount(), 2);
    // A mode without a name leaves what stood there before.
    QCOMPARE(texts(*table, 0).mid(0, 2), QStringList({"Fault", "Intermitten"}));
    QCOMPARE(texts(*table, 1).mid(0, 2), QStringList({"Fault", "Inactive"}));
    window.faultGetFaultsResp({});
    QCOMPARE(table->rowCount(), 0);
    window.faultGetFaultsResp({fault(0, 9)});
    QCOMPARE(texts(*table, 0).mid(0, 2), QStringList({"Fault", "-"}));
}

QTEST_MAIN(TestFaultsDisplay)
#include "tst_faultsdisplay.moc"
