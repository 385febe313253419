// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/configuration.pb.h"
#include "schema/link.pb.h"

#include <QtGlobal>
#include <array>
#include <map>
#include <string>
#include <vector>

namespace simulator {

constexpr int logChannelCount = 128;

// The inputs that the PC sets instead of a sensor. The log shows input i in channel
// firstVirtualInput + i.
constexpr int virtualInputCount = 12;
constexpr int firstVirtualInput = 20;

// The bytes of a configuration block: a 32-bit little-endian length and so many bytes of a
// serialized ConfigData. The length 0xFFFFFFFF marks an empty block.
std::string configurationBlock(const xcu::ConfigData& configuration);

// Blocks 0 and 6 with entries for the first so many log channels, 0 to 128.
std::map<unsigned int, std::string> configurationBlocks(int namedChannels);

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
    // Of a channel, 0 to 127, a raw value.
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
