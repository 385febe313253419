// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/statusbarpacer.h"

#include <QStatusBar>

StatusBarPacer::StatusBarPacer(QStatusBar* statusBar)
    : QObject(statusBar)
    , bar(statusBar)
{
    frame.setSingleShot(true);
    frame.setInterval(FrameMs);
    frame.setTimerType(Qt::PreciseTimer);
    connect(&frame, &QTimer::timeout, this, &StatusBarPacer::paintLatest);
    // The bar tells of a new text just before it paints it.
    connect(bar, &QStatusBar::messageChanged, this, &StatusBarPacer::holdPainting);
}

void StatusBarPacer::holdPainting()
{
    if (frame.isActive()) {
        bar->setUpdatesEnabled(false);
    } else {
        frame.start();
    }
}

void StatusBarPacer::paintLatest()
{
    if (!bar->updatesEnabled()) {
        bar->setUpdatesEnabled(true);
        bar->repaint();
        frame.start();
    }
}
