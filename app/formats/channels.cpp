// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/channels.h"

#include <cmath>

namespace formats {

QColor channelColour(int index)
{
    // Cut, not rounded, so that colours stay those of older charts.
    const auto component = [](double radians) {
        return static_cast<int>(std::sin(radians) * 100 + 100);
    };
    return QColor(
        component(0.3 * index), component(0.7 + 0.6 * index), component(0.6 + 0.4 * index));
}

} // namespace formats
