// SPDX-License-Identifier: GPL-3.0-or-later
#include "display/paintpacer.h"

#include <algorithm>

namespace display {

PaintPacer::PaintPacer(std::function<void()> paintFunction, QObject* parent)
    : QObject(parent)
    , paint(std::move(paintFunction))
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &PaintPacer::paintNow);
}

void PaintPacer::request()
{
    // Read once: a thread that is held up between two readings would start a negative interval.
    const qint64 passedMs = sincePainting.isValid() ? sincePainting.elapsed() : intervalMs;
    // Also when the timer is due: a flood of records may keep the event loop from running it.
    if (passedMs >= intervalMs) {
        paintNow();
    } else if (!timer.isActive()) {
        timer.start(intervalMs - static_cast<int>(passedMs));
    }
}

void PaintPacer::afterPainting()
{
    constexpr int rest = 9; // times as long as the painting
    const qint64 ms = rest * duration.nsecsElapsed() / 1'000'000;
    intervalMs = static_cast<int>(std::clamp<qint64>(ms, IntervalMs, LongestIntervalMs));
    timer.stop();
    sincePainting.start();
}

void PaintPacer::paintNow()
{
    beforePainting();
    paint();
    afterPainting();
}

} // namespace display
