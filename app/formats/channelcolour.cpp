// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/channelcolour.h"

#include <cmath>

namespace formats {

namespace {

// The component is cut, not rounded, so that colours stay those of older charts.
int component(double radians)
{
    return static_cast<int>(std::sin(radians) * 100 + 100);
}

} // namespace

QColor channelColour(int index)
{
    return QColor(
        component(0.3 * index), component(0.7 + 0.6 * index), component(0.6 + 0.4 * index));
}

} // namespace formats
