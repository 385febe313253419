// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/pacer.h"

#include <algorithm>
#include <cmath>

namespace simulator {

Pacer::Pacer(double perSecond)
    : itemsPerSecond(perSecond)
{
    start();
}

void Pacer::setRate(double perSecond)
{
    itemsPerSecond = perSecond;
    start();
}

void Pacer::start()
{
    clock.start();
    taken = 0;
}

int Pacer::take(int most)
{
    if (std::isinf(itemsPerSecond)) {
        return most;
    }
    const double dueByNow = std::floor(double(clock.nsecsElapsed()) * 1e-9 * itemsPerSecond);
    taken = std::max(taken, dueByNow - std::ceil(itemsPerSecond));
    const double due = std::min(dueByNow - taken, double(most));
    taken += due;
    return static_cast<int>(due);
}

} // namespace simulator
