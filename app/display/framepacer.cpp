// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/framepacer.h"

namespace display {

FramePacer::FramePacer(std::function<void()> paintFunction, QObject* parent)
    : QObject(parent)
    , paint(std::move(paintFunction))
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &FramePacer::paintNow);
}

void FramePacer::request()
{
    // Also when the timer is due: a flood of records may keep the event loop from running it.
    if (!sincePainting.isValid() || sincePainting.hasExpired(FrameMs - 1)) {
        paintNow();
    } else if (!timer.isActive()) {
        timer.start(FrameMs - static_cast<int>(sincePainting.elapsed()));
    }
}

void FramePacer::painted()
{
    timer.stop();
    sincePainting.start();
}

void FramePacer::paintNow()
{
    paint();
    painted();
}

} // namespace display
