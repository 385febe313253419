// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>

namespace display {

// Paints at the pace of the display instead of the pace of changes: nobody could see more, and no
// record is read while the window paints.
//
// A request that comes an interval or more after the end of the last painting is painted before
// request() returns. Requests that come faster are painted together, the last one no later than an
// interval after that painting, or as soon as the event loop runs again. Where painting takes long,
// the interval is longer: nine tenths of the time are for the session.
class PaintPacer : public QObject
{
    Q_OBJECT

public:
    static constexpr int IntervalMs = 16;
    static constexpr int LongestIntervalMs = 100;

    PaintPacer(std::function<void()> paintFunction, QObject* parent);

    // Call after any change that is to show.
    void request();

    // Call both when somebody else paints: what waited has been shown.
    void beforePainting() { duration.start(); }
    void afterPainting();

private:
    void paintNow();

    std::function<void()> paint;
    int intervalMs = IntervalMs;
    QElapsedTimer duration;      // of the painting
    QElapsedTimer sincePainting; // invalid before the first one
    QTimer timer;                // runs while requests wait
};

} // namespace display
