// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

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

// All of them, by channel number.
const std::vector<LogChannel>& logChannels();

} // namespace simulator
