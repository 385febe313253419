// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <cmath>

namespace formats {

// Channels that the controller's logger has, numbered from 0.
constexpr int ChannelTotal = 128;

// How many channels a session asks for, by the choice in the channel count box: 32, 64, 96 or 128.
// An index outside the choices gives 64.
constexpr int channelCountOfChoice(int index)
{
    return index >= 0 && index <= 3 ? 32 * (index + 1) : 64;
}

// Colour of a channel, and of the CAN signal of the same index: three sines of different pace, so
// that neighbours differ. Each component lies between 0 and 200.
inline QColor channelColour(int index)
{
    // Cut, not rounded, so that colours stay those of older charts.
    const auto component = [](double radians) {
        return static_cast<int>(std::sin(radians) * 100 + 100);
    };
    return QColor(
        component(0.3 * index), component(0.7 + 0.6 * index), component(0.6 + 0.4 * index));
}

} // namespace formats
