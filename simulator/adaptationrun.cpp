// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/adaptationrun.h"

namespace simulator {

AdaptationRun::AdaptationRun(int durationMs, QObject* parent)
    : QObject(parent)
{
    // The answer to the start command is to be seen for a moment before the status follows.
    constexpr int longestSilenceMs = 250;
    announcement.setSingleShot(true);
    announcement.setInterval(qMin(longestSilenceMs, durationMs / 2));
    end.setSingleShot(true);
    end.setInterval(durationMs);
    connect(&announcement, &QTimer::timeout, this, &AdaptationRun::statusChanged);
    connect(&end, &QTimer::timeout, this, &AdaptationRun::statusChanged);
}

void AdaptationRun::start()
{
    if (end.interval() > 0) {
        announcement.start();
        end.start();
    }
}

void AdaptationRun::stop()
{
    announcement.stop();
    end.stop();
}

} // namespace simulator
