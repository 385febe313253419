// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portlist.h"

#include <QTest>

class TestPortList : public QObject
{
    Q_OBJECT

private slots:
    void enumeratesWhenThereIsAReason();
};

void TestPortList::enumeratesWhenThereIsAReason()
{
    const QStringList none;
    const QStringList one{"ttyS0", "ttyACM0"};
    struct
    {
        QStringList before, after;
        // In the first call, the next 20 ticks of 100 ms, 30 more; in the tick after the change,
        // the next 20, 30 more.
        QList<int> enumerations;
    } const rows[] = {
        {one, one, {1, 20, 3, 0, 2, 3}},
        {one, {"ttyS0"}, {1, 20, 3, 1, 20, 3}},
        {one, {"ttyS0", "ttyACM1"}, {1, 20, 3, 1, 20, 3}},
        {none, none, {1, 20, 30, 1, 20, 30}}, // names are not to be had
    };
    for (const auto& row : rows) {
        QStringList names;
        qint64 now = 5000;
        int count = 0;
        const auto enumerate = [&] {
            ++count;
            return QList<QSerialPortInfo>();
        };
        PortList list({[&] { return names; }, enumerate, [&] { return now; }});
        QList<int> counts;
        for (const int ticks : {1, 20, 30, 1, 20, 30}) {
            names = counts.size() < 3 ? row.before : row.after;
            count = 0;
            for (int i = 0; i < ticks; ++i) {
                now += 100;
                list.availablePorts();
            }
            counts << count;
        }
        QCOMPARE(counts, row.enumerations);
    }
}

QTEST_GUILESS_MAIN(TestPortList)
#include "tst_portlist.moc"
