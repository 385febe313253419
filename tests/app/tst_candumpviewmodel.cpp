// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/candumpviewmodel.h"

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <limits>

namespace {

QVariant cell(const CandumpViewModel& model, int row, int column, int role = Qt::DisplayRole)
{
    return model.data(model.index(row, column), role);
}

QColor colour(const CandumpViewModel& model, int row, int column)
{
    return cell(model, row, column, Qt::ForegroundRole).value<QColor>();
}

void update(CandumpViewModel& model, int timestampMs, int canId, const QByteArray& hex)
{
    model.updateFrame(
        1, timestampMs, canId, false, false, false, QByteArray::fromHex(hex).toStdString());
}

QStringList rowHeaders(const CandumpViewModel& model)
{
    QStringList headers;
    for (int row = 0; row < model.rowCount(); ++row) {
        headers << model.headerData(row, Qt::Vertical).toString();
    }
    return headers;
}

} // namespace

class TestCandumpViewModel : public QObject
{
    Q_OBJECT

private slots:
    void colourTimerFindsNoSlot();
    void columnsShowTextAlignmentAndColour();
    void rowsAreSortedBySignedIdentifier();
    void changesAskForAWholeRepaint();
    void changedBytesFade_data();
    void changedBytesFade();
    void sameBytesKeepTheirAge();
    void bytesBehindAShortFrameComeBack();
    void anyLengthIsTaken_data();
    void anyLengthIsTaken();
    void placesOutsideTheTableAreEmpty();
};

void TestCandumpViewModel::colourTimerFindsNoSlot()
{
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral(
                          "No such slot QAbstractTableModel::refreshColours\\(\\)")));
    const CandumpViewModel model;
    QCOMPARE(model.metaObject(), &QAbstractTableModel::staticMetaObject);
}

void TestCandumpViewModel::columnsShowTextAlignmentAndColour()
{
    CandumpViewModel model;
    model.updateFrame(-3, 12345, 0x12, true, true, true, std::string("\x01\xfe\x00", 3));

    const QStringList titles = {"B0", "B1", "B2",  "B3",  "B4",  "B5",
                                "B6", "B7", "DLC", "CAN", "Time"};
    const QStringList texts = {"01", "fe", "00", "", "", "", "", "", "3", "CAN-3", "12.345"};
    QCOMPARE(model.columnCount(), 11);
    for (int column = 0; column < model.columnCount(); ++column) {
        QCOMPARE(model.headerData(column, Qt::Horizontal).toString(), titles[column]);
        QCOMPARE(cell(model, 0, column).toString(), texts[column]);
        QCOMPARE(cell(model, 0, column).isValid(), !texts[column].isEmpty());
        QCOMPARE(cell(model, 0, column, Qt::TextAlignmentRole).toInt(), column < 8 ? 132 : 129);
        QCOMPARE(colour(model, 0, column), QColor(column < 3 ? 255 : 0, 0, 0));
    }
    QVERIFY(!cell(model, 0, 0, Qt::BackgroundRole).isValid());
    QCOMPARE(model.flags(model.index(0, 0)), Qt::NoItemFlags);
    QVERIFY(model.setData(model.index(0, 0), 7));
    QCOMPARE(cell(model, 0, 0).toString(), QStringLiteral("01"));
}

void TestCandumpViewModel::rowsAreSortedBySignedIdentifier()
{
    CandumpViewModel model;
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const QVector<int> ids = {0x123, 0x12, 0x18daf110, std::numeric_limits<int>::min(), 0x100};
    const QVector<int> places = {0, 0, 2, 0, 2};
    for (int i = 0; i < ids.size(); ++i) {
        update(model, i, ids[i], "00");
        QCOMPARE(inserted.takeFirst().at(1).toInt(), places[i]);
    }
    QVERIFY(changed.isEmpty());
    QCOMPARE(
        rowHeaders(model),
        QStringList({"0xffffffff80000000", "0x012", "0x100", "0x123", "0x18daf110"}));
}

void TestCandumpViewModel::changesAskForAWholeRepaint()
{
    CandumpViewModel model;
    update(model, 0, 1, "00");
    update(model, 0, 2, "00");
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    update(model, 1, 2, "00");
    model.refreshColours();
    QCOMPARE(changed.size(), 2);
    QCOMPARE(changed[0][0].toModelIndex(), model.index(1, 0));
    QCOMPARE(changed[1][0].toModelIndex(), model.index(0, 0));
    QVERIFY(!changed[0][1].toModelIndex().isValid());
    QVERIFY(!changed[1][1].toModelIndex().isValid());
    QCOMPARE(changed[0][2].value<QVector<int>>(), QVector<int>({0, 9}));
    QCOMPARE(changed[1][2].value<QVector<int>>(), QVector<int>({9}));
}

void TestCandumpViewModel::changedBytesFade_data()
{
    QTest::addColumn<int>("ageMs");
    QTest::addColumn<QColor>("colour");

    QTest::newRow("new") << 0 << QColor(255, 0, 0);
    QTest::newRow("cut, not rounded") << 10 << QColor(254, 0, 0);
    QTest::newRow("half way") << 1500 << QColor(127, 0, 0);
    QTest::newRow("end") << 3000 << QColor(0, 0, 0);
    QTest::newRow("old") << 600000 << QColor(0, 0, 0);
    QTest::newRow("clock ran back") << -100 << QColor(263, 0, 0); // invalid, paints black
    QTest::newRow("clock ran far back") << -2000000000 << QColor(256, 0, 0);
}

void TestCandumpViewModel::changedBytesFade()
{
    QFETCH(int, ageMs);
    CandumpViewModel model;
    update(model, 5000, 0x12, "80");
    update(model, 5000 + ageMs, 0x300, ""); // frames of others move the clock too
    QTEST(colour(model, 0, 0), "colour");
}

void TestCandumpViewModel::sameBytesKeepTheirAge()
{
    CandumpViewModel model;
    for (int ms = 4000; ms <= 7500; ms += 500) {
        update(model, ms, 0x12, ms < 7000 ? "ff01" : "ff02");
    }
    QCOMPARE(colour(model, 0, 0), QColor(0, 0, 0)); // above 0x7f too
    QCOMPARE(colour(model, 0, 1), QColor(212, 0, 0));
    update(model, 7500, 0x12, "ff03");
    QCOMPARE(colour(model, 0, 1), QColor(255, 0, 0)); // within one time stamp
}

void TestCandumpViewModel::bytesBehindAShortFrameComeBack()
{
    CandumpViewModel model;
    update(model, 10000, 0x12, "0102");
    update(model, 11500, 0x12, "01");
    QVERIFY(!cell(model, 0, 1).isValid());
    update(model, 11500, 0x12, "01020003");
    QCOMPARE(cell(model, 0, 1).toString(), QStringLiteral("02"));
    QCOMPARE(colour(model, 0, 1), QColor(127, 0, 0));
    // A zero that was never there before equals the fill.
    QCOMPARE(cell(model, 0, 2).toString(), QStringLiteral("00"));
    QCOMPARE(colour(model, 0, 2), QColor(0, 0, 0));
    QCOMPARE(colour(model, 0, 3), QColor(255, 0, 0));
}

void TestCandumpViewModel::anyLengthIsTaken_data()
{
    QTest::addColumn<int>("length");
    for (const int length : {0, 1, 8, 64, 65, 4096}) {
        QTest::addRow("%d", length) << length;
    }
}

void TestCandumpViewModel::anyLengthIsTaken()
{
    QFETCH(int, length);
    CandumpViewModel model;
    for (int i = 0; i < 2; ++i) {
        update(model, i, 0x12, QByteArray(2 * length, i == 0 ? '1' : '2'));
        QCOMPARE(cell(model, 0, 8).toInt(), length);
        QCOMPARE(cell(model, 0, 7).isValid(), length > 7);
    }
}

void TestCandumpViewModel::placesOutsideTheTableAreEmpty()
{
    CandumpViewModel model;
    update(model, 0, 0x12, "00");
    QVERIFY(!model.data(QModelIndex()).isValid());
    for (const int section : {-1, 1, 11}) {
        QVERIFY(!model.headerData(section, Qt::Vertical).isValid());
        QCOMPARE(model.headerData(section, Qt::Horizontal).isValid(), section == 1);
    }
    QVERIFY(!model.headerData(0, Qt::Horizontal, Qt::TextAlignmentRole).isValid());
}

QTEST_GUILESS_MAIN(TestCandumpViewModel)
#include "tst_candumpviewmodel.moc"
