// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/replotpacer.h"

#include <qcustomplot.h>

ReplotPacer::ReplotPacer(QCustomPlot* customPlot)
    : QObject(customPlot)
    , plot(customPlot)
{
    clock.start();
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &ReplotPacer::replot);
    connect(plot, &QCustomPlot::afterReplot, this, [this] {
        // It shows all that waited.
        timer.stop();
        lastReplot = now();
    });
}

void ReplotPacer::request()
{
    const qint64 elapsed = now() - lastReplot;
    if (elapsed >= DisplayFrameMs) {
        // Also when the timer is due: a flood of records may keep the event loop from running it.
        replot();
    } else if (!timer.isActive()) {
        timer.start(int(DisplayFrameMs - elapsed));
    }
}

void ReplotPacer::replot()
{
    plot->replot(QCustomPlot::rpRefreshHint);
}

qint64 ReplotPacer::now() const
{
    return clock.elapsed();
}
