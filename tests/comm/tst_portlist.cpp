// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portlist.h"

#include <QTest>

// Counts enumerations while a test turns the clock and the names by hand.
class TestPortList : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void restsWhenNothingChanges();
    void seesAChangeAtOnceAndWatchesItSettle_data();
    void seesAChangeAtOnceAndWatchesItSettle();
    void enumeratesAlwaysWithoutNames();

private:
    // Ticks of 100 ms; gives how many of them enumerated.
    int ticks(PortList& list, int count)
    {
        const int before = enumerations;
        for (int i = 0; i < count; ++i) {
            now += 100;
            list.availablePorts();
        }
        return enumerations - before;
    }

    PortList::Source source;
    QStringList names;
    qint64 now = 0;
    int enumerations = 0;
};

void TestPortList::init()
{
    names = QStringList{"ttyS0", "ttyACM0"};
    now = 5000;
    enumerations = 0;
    source.names = [this] { return names; };
    source.milliseconds = [this] { return now; };
    source.ports = [this] {
        ++enumerations;
        return QList<QSerialPortInfo>();
    };
}

void TestPortList::restsWhenNothingChanges()
{
    PortList list(source);
    list.availablePorts();
    QCOMPARE(enumerations, 1);
    QCOMPARE(ticks(list, 20), 20); // the first look is a change
    QCOMPARE(ticks(list, 100), 10);
}

void TestPortList::seesAChangeAtOnceAndWatchesItSettle_data()
{
    QTest::addColumn<QStringList>("later");
    QTest::newRow("pulled") << QStringList{"ttyS0"};
    QTest::newRow("plugged") << QStringList{"ttyS0", "ttyACM0", "ttyACM1"};
    QTest::newRow("another at the same time") << QStringList{"ttyS0", "ttyACM1"};
}

void TestPortList::seesAChangeAtOnceAndWatchesItSettle()
{
    QFETCH(QStringList, later);
    PortList list(source);
    list.availablePorts();
    ticks(list, 35);
    names = later;
    QCOMPARE(ticks(list, 1), 1);
    QCOMPARE(ticks(list, 20), 20);
    QCOMPARE(ticks(list, 9), 0);
}

void TestPortList::enumeratesAlwaysWithoutNames()
{
    names.clear();
    PortList list(source);
    QCOMPARE(ticks(list, 50), 50);
}

QTEST_GUILESS_MAIN(TestPortList)
#include "tst_portlist.moc"
