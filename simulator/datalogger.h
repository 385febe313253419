// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/configuration.pb.h"
#include "schema/link.pb.h"

#include <QMap>
#include <array>
#include <string>
#include <variant>
#include <vector>

namespace simulator {

constexpr int logChannelCount = 128;

// The inputs that the PC sets instead of a sensor. The log shows input i in channel
// firstVirtualInput + i.
constexpr int virtualInputCount = 12;
constexpr int firstVirtualInput = 20;

enum class Shape { Sine, Sawtooth, Steps, Noise };

// A log channel of the virtual vehicle: name and type for the configuration blocks, raw range and
// shape of the wave that its records show.
struct LogChannel
{
    std::string name; // UTF-8, empty where the operator gave none
    std::variant<xcu::Input::Type, xcu::Output::Type> type;
    unsigned int number = 0;
    Shape shape = Shape::Sine;
    int low = 0;
    int high = 4095;
    unsigned int periodMs = 4000;
    quint32 phaseMs = 0; // this and the noise come from the controller's seed
    quint32 noise = 0;
};

// The bytes of a configuration block: a 32-bit little-endian length and so many bytes of a
// serialized ConfigData. The length 0xFFFFFFFF marks an empty block.
std::string configurationBlock(const xcu::ConfigData& configuration);

// Blocks 0 and 6 with entries for the first so many log channels, 0 to 128.
QMap<unsigned int, std::string> configurationBlocks(int namedChannels);

// The controller's data logger: which channels a session asked for, what they show, and the
// records. What a channel shows is a pure function of seed, channel and controller time, so that a
// record can be checked from nothing but its timestamp; virtual inputs show what they were set to.
class Datalogger
{
public:
    // The first so many channels exist, 0 to 128.
    Datalogger(int channelCount, quint32 seed);

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
    // Of a channel that exists, a raw value.
    int value(unsigned int channel, quint32 timeMs) const;

private:
    std::vector<LogChannel> channels;
    std::array<int, virtualInputCount> virtualInputs = {};
    xcu::DataloggerStart session;
    bool running = false;
    quint32 sampleNumber = 0;
};

} // namespace simulator
