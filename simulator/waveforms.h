// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <vector>

// What the log channels show while a controller runs: a pure function of seed, channel and
// controller time, so that a record can be checked from nothing but its timestamp.
class Waveforms
{
public:
    explicit Waveforms(quint32 seed);

    // The value of a channel, 0 to 127; channels above repeat those below.
    int value(unsigned int channel, quint32 timeMs) const;

private:
    enum class Shape { Sine, Sawtooth, Steps, Noise };

    struct Wave
    {
        Shape shape;
        int low;
        int span;
        quint32 periodMs;
        quint32 phaseMs;
    };

    std::vector<Wave> waves;
    quint32 noiseSeed;
};
