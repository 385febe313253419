// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/channels.h"

#include <QtGlobal>
#include <array>
#include <vector>

namespace simulator {

// The controller's data logger: which channels a session asked for, what they show, and the
// records. What a channel shows is a pure function of seed, channel and controller time, so that a
// record can be checked from nothing but its timestamp; virtual inputs show what they were set to.
class Datalogger
{
public:
    // The first so many channels exist, 0 to 128.
    Datalogger(int channels, quint32 seed);

    void start(const xcu::DataloggerStart& request);
    void stop() { running = false; }
    void powerUp(); // virtual inputs are 0 again

    bool isRunning() const { return running; }
    bool isPassive() const { return running && session.passive() != 0; }

    // An index that does not exist is ignored.
    void setVirtualInput(int index, int value);

    // The next record of the session: the requested channels in the requested order, as far as they
    // exist. Sample numbers run from power-up on, over all sessions.
    void nextRecord(quint32 timeMs, xcu::DataloggerDataResp& record);
    // Of a channel, 0 to 127, within the range of its LogChannel.
    int value(unsigned int channel, quint32 timeMs) const;

private:
    struct Wave
    {
        quint32 phaseMs;
        quint32 noise;
    };

    std::vector<Wave> waves; // by channel
    std::array<int, virtualInputCount> virtualInputs = {};
    unsigned int channelCount;
    xcu::DataloggerStart session;
    bool running = false;
    quint32 sampleNumber = 0;
};

} // namespace simulator
