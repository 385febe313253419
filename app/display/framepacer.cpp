// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/framepacer.h"

#include <algorithm>

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
    if (!sincePainting.isValid() || sincePainting.hasExpired(frameMs - 1)) {
        paintNow();
    } else if (!timer.isActive()) {
        timer.start(frameMs - static_cast<int>(sincePainting.elapsed()));
    }
}

void FramePacer::afterPainting()
{
    constexpr int rest = 9; // times as long as the painting
    const qint64 ms = rest * duration.nsecsElapsed() / 1'000'000;
    frameMs = static_cast<int>(std::clamp<qint64>(ms, FrameMs, LongestFrameMs));
    timer.stop();
    sincePainting.start();
}

void FramePacer::paintNow()
{
    beforePainting();
    paint();
    afterPainting();
}

} // namespace display
