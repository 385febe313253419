// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/replotpacer.h"

#include <QtTest>
#include <qcustomplot.h>

namespace {

class ClockedPacer : public ReplotPacer
{
public:
    using ReplotPacer::ReplotPacer;
    qint64 time = 0;

protected:
    qint64 now() const override { return time; }
};

} // namespace

class ReplotPacerTest : public QObject
{
    Q_OBJECT

private slots:
    void drawsAtOnceOrTogether()
    {
        QCustomPlot plot;
        auto* pacer = new ClockedPacer(&plot);
        QSignalSpy drawn(&plot, &QCustomPlot::afterReplot);
        pacer->request();
        QCOMPARE(drawn.count(), 1);

        pacer->time = 15;
        pacer->request();
        pacer->request();
        QCOMPARE(drawn.count(), 1);
        QTRY_COMPARE(drawn.count(), 2);

        // The event loop may be too busy to run the timer.
        pacer->time = 20;
        pacer->request();
        pacer->time = 31;
        pacer->request();
        QCOMPARE(drawn.count(), 3);

        // A drawing that somebody else asks for shows what waits, and begins a new period.
        pacer->time = 40;
        pacer->request();
        plot.replot();
        QCOMPARE(drawn.count(), 4);
        pacer->time = 50;
        pacer->request();
        QCOMPARE(drawn.count(), 4);
        QTRY_COMPARE(drawn.count(), 5);
    }
};

QTEST_MAIN(ReplotPacerTest)
#include "tst_replotpacer.moc"
