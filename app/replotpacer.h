// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/displayframe.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

class QCustomPlot;

// Draws a plot at the pace of the display instead of the pace of its changes. Drawing decides what
// gets logged: while a plot is drawn no record is asked for and none is read.
//
// A request 16 ms or more after the end of the last replot, whoever called for that, is drawn
// before request() returns. Requests that come faster are drawn together, the last one no later
// than 16 ms after the replot, or as soon as the event loop runs again.
class ReplotPacer : public QObject
{
    Q_OBJECT

public:
    // Becomes a child of the plot.
    explicit ReplotPacer(QCustomPlot* plot);

    // Call after any change that the plot is to show.
    void request();

protected:
    // Milliseconds since any fixed moment.
    virtual qint64 now() const;

private:
    void replot();

    QCustomPlot* plot;
    QElapsedTimer clock;
    QTimer timer; // runs while requests wait
    qint64 lastReplot = -DisplayFrameMs;
};
