// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portlist.h"

#include <QTest>

class TestPortList : public QObject
{
    Q_OBJECT

private slots:
    void enumeratesWhenThereIsAReason_data();
    void enumeratesWhenThereIsAReason();
};

void TestPortList::enumeratesWhenThereIsAReason_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QStringList>("after");
    QTest::addColumn<QList<int>>("enumerations");
    // In the first call, the next 20 ticks of 100 ms, 30 more; in the tick after the change, the
    // next 20, 30 more.
    const QList<int> watchful{1, 20, 3, 1, 20, 3};
    const QStringList one{"ttyS0", "ttyACM0"};
    QTest::newRow("nothing changes") << one << one << QList<int>{1, 20, 3, 0, 2, 3};
    QTest::newRow("pulled") << one << QStringList{"ttyS0"} << watchful;
    QTest::newRow("plugged") << one << one + QStringList{"ttyACM1"} << watchful;
    QTest::newRow("exchanged") << one << QStringList{"ttyS0", "ttyACM1"} << watchful;
    QTest::newRow("no names to be had")
        << QStringList() << QStringList() << QList<int>{1, 20, 30, 1, 20, 30};
}

void TestPortList::enumeratesWhenThereIsAReason()
{
    QFETCH(QStringList, before);
    QFETCH(QStringList, after);
    QFETCH(QList<int>, enumerations);
    QStringList names = before;
    qint64 now = 5000;
    int count = 0;
    PortList list(
        {[&] { return names; },
         [&] {
             ++count;
             return QList<QSerialPortInfo>();
         },
         [&] { return now; }});
    QList<int> counts;
    for (const int ticks : {1, 20, 30, 1, 20, 30}) {
        if (counts.size() == 3) {
            names = after;
        }
        count = 0;
        for (int i = 0; i < ticks; ++i) {
            now += 100;
            list.availablePorts();
        }
        counts << count;
    }
    QCOMPARE(counts, enumerations);
}

QTEST_GUILESS_MAIN(TestPortList)
#include "tst_portlist.moc"
