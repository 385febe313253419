// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/configuration.pb.h"

#include <map>
#include <string>
#include <vector>

namespace simulator {

// What the log channels of the virtual vehicle stand for: names and kinds for the configuration
// blocks, raw ranges for the waveforms.
struct LogChannel
{
    enum class Kind { Input, Output };
    enum class Shape { Sine, Sawtooth, Steps, Noise };

    std::string name; // UTF-8, empty where the operator gave none
    Kind kind = Kind::Input;
    int type = 0; // of xcu::Input::Type or xcu::Output::Type
    unsigned int number = 0;
    Shape shape = Shape::Sine;
    int low = 0;
    int high = 4095;
    unsigned int periodMs = 4000;
};

constexpr int logChannelCount = 128;

// The inputs that the PC sets instead of a sensor. The log shows input i in channel
// firstVirtualInput + i.
constexpr int virtualInputCount = 12;
constexpr int firstVirtualInput = 20;

// All of them, by channel number.
const std::vector<LogChannel>& logChannels();

// The bytes of a configuration block: a 32-bit little-endian length and so many bytes of a
// serialized ConfigData. The length 0xFFFFFFFF marks an empty block.
std::string configurationBlock(const xcu::ConfigData& configuration);

// Blocks 0 and 6 with entries for the first so many log channels, 0 to 128.
std::map<unsigned int, std::string> configurationBlocks(int namedChannels);

} // namespace simulator
