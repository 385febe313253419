// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/channels.h"

#include <QtGlobal>
#include <vector>

namespace simulator {

// What the log channels show while a controller runs: a pure function of seed, channel and
// controller time, so that a record can be checked from nothing but its timestamp.
class Waveforms
{
public:
    explicit Waveforms(quint32 seed);

    // The value of a channel, 0 to 127, within the range of its LogChannel.
    int value(unsigned int channel, quint32 timeMs) const;

private:
    struct Wave
    {
        LogChannel::Shape shape;
        int low;
        quint32 span; // high - low
        quint32 periodMs;
        quint32 phaseMs;
        quint32 noise;
    };

    std::vector<Wave> waves;
};

} // namespace simulator
