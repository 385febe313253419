// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/channelcolour.h"
#include "formats/channelcount.h"
#include "formats/filestamp.h"

#include <QTest>

class TestChannels : public QObject
{
    Q_OBJECT

private slots:
    void coloursAreCutNotRounded_data();
    void coloursAreCutNotRounded();
    void choiceOutsideTheBoxMeans64();
    void stampsArePaddedToSortByTime();
};

void TestChannels::coloursAreCutNotRounded_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QColor>("colour");

    QTest::newRow("0") << 0 << QColor(100, 164, 156);
    QTest::newRow("1") << 1 << QColor(129, 196, 184);
    QTest::newRow("2") << 2 << QColor(156, 194, 198);
    QTest::newRow("3") << 3 << QColor(178, 159, 197);
    QTest::newRow("127") << 127 << QColor(139, 199, 190);
}

void TestChannels::coloursAreCutNotRounded()
{
    QFETCH(int, channel);
    QTEST(channelColour(channel), "colour");
}

void TestChannels::choiceOutsideTheBoxMeans64()
{
    const QVector<int> counts = {64, 32, 64, 96, 128, 64};
    for (int index = -1; index <= 4; ++index) {
        QCOMPARE(channelCountOfChoice(index), counts[index + 1]);
    }
}

void TestChannels::stampsArePaddedToSortByTime()
{
    QCOMPARE(
        fileStamp(QDateTime(QDate(2026, 1, 5), QTime(5, 30, 9))),
        QStringLiteral("2026.01.05-053009"));
}

QTEST_APPLESS_MAIN(TestChannels)
#include "tst_channels.moc"
