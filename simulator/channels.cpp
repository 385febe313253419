// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/channels.h"

#include <algorithm>

using namespace simulator;

namespace {

using Kind = LogChannel::Kind;
using Shape = LogChannel::Shape;

std::vector<LogChannel> makeChannels()
{
    std::vector<LogChannel> channels = {
        {"Oil pressure", Kind::Input, xcu::Input::ADC, 3, Shape::Noise, 400, 3200, 6000},
        {"Oil temperature °C", Kind::Input, xcu::Input::ADC, 4, Shape::Sine, 60, 125, 90000},
        {"Input speed", Kind::Input, xcu::Input::FREQUENCY, 0, Shape::Sawtooth, 800, 7200, 5000},
        {"Output speed", Kind::Input, xcu::Input::FREQUENCY, 1, Shape::Sine, 0, 5200, 25000},
        {"Throttle position", Kind::Input, xcu::Input::ADC, 0, Shape::Sine, 0, 1024, 7000},
        {"Brake pressure", Kind::Input, xcu::Input::ADC, 1, Shape::Noise, -12, 900, 11000},
        {"Clutch pressure", Kind::Input, xcu::Input::ADC, 2, Shape::Sine, 0, 2400, 5000},
        {"", Kind::Input, xcu::Input::ADC, 5, Shape::Noise, 0, 4095, 3000},
        {"Gear lever", Kind::Input, xcu::Input::DIGITAL, 0, Shape::Steps, -1, 6, 2500},
        {"Shift up", Kind::Input, xcu::Input::DIGITAL, 1, Shape::Steps, 0, 1, 700},
        {"Shift down", Kind::Input, xcu::Input::DIGITAL, 2, Shape::Steps, 0, 1, 900},
        {"Gear ratio", Kind::Input, xcu::Input::GEAR_RATIO, 0, Shape::Steps, 700, 4200, 2500},
        {"Engine torque", Kind::Input, xcu::Input::CAN, 0, Shape::Noise, -80, 620, 4000},
        {"Engine speed", Kind::Input, xcu::Input::CAN, 1, Shape::Sawtooth, 800, 7200, 5000},
        {"Wheel speed FL", Kind::Input, xcu::Input::CAN_OBJECT, 0, Shape::Sine, 0, 24000, 25000},
        {"Wheel speed FR", Kind::Input, xcu::Input::CAN_OBJECT, 1, Shape::Noise, 0, 24000, 25000},
        {"Lateral acceleration", Kind::Input, xcu::Input::AHRS, 0, Shape::Noise, -1200, 1200, 8000},
        {"Yaw rate", Kind::Input, xcu::Input::AHRS, 1, Shape::Sine, -3500, 3500, 8000},
        {"Supply voltage", Kind::Input, xcu::Input::ADC_SWITCH, 0, Shape::Noise, 11800, 14400,
         20000},
        {"", Kind::Input, xcu::Input::DIVIDE, 0, Shape::Sine, -100, 100, 2000},
        {"Line pressure valve", Kind::Output, xcu::Output::PWM, 0, Shape::Sine, 0, 1000, 6000},
        {"Clutch A valve", Kind::Output, xcu::Output::CURRENT, 0, Shape::Sawtooth, 0, 1400, 2500},
        {"Clutch B valve", Kind::Output, xcu::Output::CURRENT, 1, Shape::Sawtooth, 0, 1400, 3500},
        {"Diff lock valve", Kind::Output, xcu::Output::PWM, 1, Shape::Steps, 0, 1000, 9000},
        {"Pump demand", Kind::Output, xcu::Output::DAC, 0, Shape::Sine, 0, 4095, 12000},
        {"Torque request", Kind::Output, xcu::Output::CAN, 0, Shape::Noise, -200, 600, 4000},
        {"", Kind::Output, xcu::Output::MAP, 0, Shape::Sine, -500, 500, 1500},
        {"Main relay", Kind::Output, xcu::Output::PWR, 0, Shape::Steps, 0, 1, 15000},
    };
    for (int i = 0; i < virtualInputCount; ++i) {
        LogChannel input;
        input.name = "Virtual input " + std::to_string(i + 1);
        input.type = xcu::Input::CONSTANT;
        input.number = static_cast<unsigned int>(i);
        channels.insert(channels.begin() + firstVirtualInput + i, input);
    }
    for (unsigned int i = 0; channels.size() < logChannelCount; ++i) {
        LogChannel spare;
        spare.name = "Spare " + std::to_string(i + 1);
        spare.type = xcu::Input::PHW;
        spare.number = i;
        spare.shape = static_cast<Shape>(i % 4);
        spare.low = -static_cast<int>(i) * 20;
        spare.high = 500 + static_cast<int>(i) * 30;
        spare.periodMs = 1000 + i * 130;
        channels.push_back(spare);
    }
    return channels;
}

template <typename Entry>
void fill(Entry& entry, const LogChannel& channel, int logChannel)
{
    entry.set_name(channel.name);
    entry.set_logchannel(logChannel);
    entry.set_type(static_cast<decltype(entry.type())>(channel.type));
    entry.set_number(channel.number);
}

void add(xcu::ConfigData& configuration, const LogChannel& channel, int logChannel)
{
    if (channel.kind == LogChannel::Kind::Input) {
        fill(*configuration.add_inputs(), channel, logChannel);
    } else {
        fill(*configuration.add_outputs(), channel, logChannel);
    }
}

} // namespace

const std::vector<LogChannel>& simulator::logChannels()
{
    static const std::vector<LogChannel> channels = makeChannels();
    return channels;
}

std::string simulator::configurationBlock(const xcu::ConfigData& configuration)
{
    const std::string message = configuration.SerializeAsString();
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(message.size() >> shift & 0xFF);
    }
    return bytes + message;
}

std::map<unsigned int, std::string> simulator::configurationBlocks(int namedChannels)
{
    constexpr int notLogged = -1; // connected all the same
    xcu::ConfigData main;
    add(main, {"Service switch", Kind::Input, xcu::Input::DIGITAL, 7}, notLogged);
    add(main, {"Cooling fan", Kind::Output, xcu::Output::PWM, 5}, notLogged);
    xcu::ConfigData extension; // virtual inputs and all above them
    const int count = std::clamp(namedChannels, 0, logChannelCount);
    for (int i = 0; i < count; ++i) {
        add(i < firstVirtualInput ? main : extension, logChannels()[i], i);
    }
    return {{0, configurationBlock(main)}, {6, configurationBlock(extension)}};
}
