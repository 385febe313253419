// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/statusbarpacer.h"

#include "app/displayframe.h"

#include <QEvent>
#include <QStatusBar>

StatusBarPacer::StatusBarPacer(QStatusBar* statusBar)
    : QObject(statusBar)
{
    pause.setSingleShot(true);
    pause.setInterval(DisplayFrameMs);
    pause.setTimerType(Qt::PreciseTimer);
    statusBar->installEventFilter(this);
    connect(statusBar, &QStatusBar::messageChanged, this, [this, statusBar] {
        statusBar->setUpdatesEnabled(!pause.isActive());
    });
    connect(&pause, &QTimer::timeout, this, [statusBar] { statusBar->setUpdatesEnabled(true); });
}

bool StatusBarPacer::eventFilter(QObject* /*watched*/, QEvent* event)
{
    if (event->type() == QEvent::Paint) {
        pause.start();
    }
    return false;
}
