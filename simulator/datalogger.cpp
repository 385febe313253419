// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/datalogger.h"

#include "simulator/link.h"

#include <algorithm>
#include <cmath>
#include <random>

using namespace simulator;

namespace {

using xcu::Input;
using xcu::Output;

std::vector<LogChannel> makeChannels()
{
    std::vector<LogChannel> channels = {
        {"Oil pressure", Input::ADC, 3, Shape::Noise, 400, 3200, 6000},
        {"Oil temperature °C", Input::ADC, 4, Shape::Sine, 60, 125, 90000},
        {"Input speed", Input::FREQUENCY, 0, Shape::Sawtooth, 800, 7200, 5000},
        {"Output speed", Input::FREQUENCY, 1, Shape::Sine, 0, 5200, 25000},
        {"Throttle position", Input::ADC, 0, Shape::Sine, 0, 1024, 7000},
        {"Brake pressure", Input::ADC, 1, Shape::Noise, -12, 900, 11000},
        {"Clutch pressure", Input::ADC, 2, Shape::Sine, 0, 2400, 5000},
        {"", Input::ADC, 5, Shape::Noise, 0, 4095, 3000},
        {"Gear lever", Input::DIGITAL, 0, Shape::Steps, -1, 6, 2500},
        {"Shift up", Input::DIGITAL, 1, Shape::Steps, 0, 1, 700},
        {"Shift down", Input::DIGITAL, 2, Shape::Steps, 0, 1, 900},
        {"Gear ratio", Input::GEAR_RATIO, 0, Shape::Steps, 700, 4200, 2500},
        {"Engine torque", Input::CAN, 0, Shape::Noise, -80, 620, 4000},
        {"Engine speed", Input::CAN, 1, Shape::Sawtooth, 800, 7200, 5000},
        {"Wheel speed FL", Input::CAN_OBJECT, 0, Shape::Sine, 0, 24000, 25000},
        {"Wheel speed FR", Input::CAN_OBJECT, 1, Shape::Noise, 0, 24000, 25000},
        {"Lateral acceleration", Input::AHRS, 0, Shape::Noise, -1200, 1200, 8000},
        {"Yaw rate", Input::AHRS, 1, Shape::Sine, -3500, 3500, 8000},
        {"Supply voltage", Input::ADC_SWITCH, 0, Shape::Noise, 11800, 14400, 20000},
        {"", Input::DIVIDE, 0, Shape::Sine, -100, 100, 2000},
        {"Line pressure valve", Output::PWM, 0, Shape::Sine, 0, 1000, 6000},
        {"Clutch A valve", Output::CURRENT, 0, Shape::Sawtooth, 0, 1400, 2500},
        {"Clutch B valve", Output::CURRENT, 1, Shape::Sawtooth, 0, 1400, 3500},
        {"Diff lock valve", Output::PWM, 1, Shape::Steps, 0, 1000, 9000},
        {"Pump demand", Output::DAC, 0, Shape::Sine, 0, 4095, 12000},
        {"Torque request", Output::CAN, 0, Shape::Noise, -200, 600, 4000},
        {"", Output::MAP, 0, Shape::Sine, -500, 500, 1500},
        {"Main relay", Output::PWR, 0, Shape::Steps, 0, 1, 15000},
    };
    for (unsigned int i = 0; i < virtualInputCount; ++i) {
        channels.insert(
            channels.begin() + firstVirtualInput + i,
            LogChannel{"Virtual input " + std::to_string(i + 1), Input::CONSTANT, i});
    }
    for (int i = 0; channels.size() < logChannelCount; ++i) {
        channels.push_back(
            {"Spare " + std::to_string(i + 1), Input::PHW, unsigned(i), static_cast<Shape>(i % 4),
             -20 * i, 500 + 30 * i, 1000 + 130 * unsigned(i)});
    }
    return channels;
}

void add(xcu::ConfigData& configuration, const LogChannel& channel, int logChannel)
{
    const auto fill = [&](auto& entry, auto type) {
        entry.set_name(channel.name);
        entry.set_logchannel(logChannel);
        entry.set_type(type);
        entry.set_number(channel.number);
    };
    if (const auto* type = std::get_if<Input::Type>(&channel.type)) {
        fill(*configuration.add_inputs(), *type);
    } else {
        fill(*configuration.add_outputs(), std::get<Output::Type>(channel.type));
    }
}

// All shapes are fractions of the span in 1/65536, so that a value costs no floating point.
constexpr int fractionBits = 16;
constexpr quint32 sineSteps = 1024;

// The same number always gives the same, and neighbours give nothing alike.
quint32 scramble(quint32 x)
{
    x = (x ^ (x >> 16)) * 0x45d9f3bU;
    x = (x ^ (x >> 16)) * 0x45d9f3bU;
    return x ^ (x >> 16);
}

quint32 sineFraction(quint32 time, quint32 period)
{
    static const auto sine = [] {
        constexpr double turn = 6.283185307179586;
        std::array<quint32, sineSteps> steps;
        for (quint32 i = 0; i < sineSteps; ++i) {
            steps[i] = quint32(std::lround(32767.5 * (1 + std::sin(turn * i / sineSteps))));
        }
        return steps;
    }();
    return sine[quint64(time % period) * sineSteps / period];
}

quint32 fraction(const LogChannel& channel, quint32 timeMs)
{
    constexpr quint32 levels = 8;
    const quint32 time = timeMs + channel.phaseMs;
    const quint32 period = channel.periodMs;
    switch (channel.shape) {
    case Shape::Sine:
        return sineFraction(time, period);
    case Shape::Sawtooth:
        return (quint64(time % period) << fractionBits) / period;
    case Shape::Steps:
        return scramble(time / period) % levels * ((1U << fractionBits) - 1) / (levels - 1);
    case Shape::Noise:
        break;
    }
    // A sine of fifteen sixteenths of the span, with a tremble on top.
    return sineFraction(time, period) / 16 * 15 + scramble(time + channel.noise) % 4096;
}

} // namespace

std::string simulator::configurationBlock(const xcu::ConfigData& configuration)
{
    QByteArray block; // laid out like a frame of the link
    appendFrame(block, configuration);
    return block.toStdString();
}

QMap<unsigned int, std::string> simulator::configurationBlocks(int namedChannels)
{
    constexpr int notLogged = -1; // connected all the same
    xcu::ConfigData main;
    add(main, {"Service switch", Input::DIGITAL, 7}, notLogged);
    add(main, {"Cooling fan", Output::PWM, 5}, notLogged);
    xcu::ConfigData extension; // virtual inputs and all above them
    const std::vector<LogChannel> channels = makeChannels();
    for (int i = 0; i < std::min(namedChannels, logChannelCount); ++i) {
        add(i < firstVirtualInput ? main : extension, channels[i], i);
    }
    return {{0, configurationBlock(main)}, {6, configurationBlock(extension)}};
}

Datalogger::Datalogger(int channelCount, quint32 seed)
    : channels(makeChannels())
{
    channels.resize(static_cast<std::size_t>(std::clamp(channelCount, 0, logChannelCount)));
    std::mt19937 random(seed);
    for (LogChannel& channel : channels) {
        channel.phaseMs = random() % channel.periodMs;
        channel.noise = static_cast<quint32>(random());
    }
}

void Datalogger::start(const xcu::DataloggerStart& request)
{
    session = request;
    running = true;
}

void Datalogger::powerUp()
{
    session.Clear();
    running = false;
    sampleNumber = 0;
    virtualInputs.fill(0);
}

void Datalogger::setVirtualInput(int index, int value)
{
    if (index >= 0 && index < virtualInputCount) {
        virtualInputs[index] = value;
    }
}

void Datalogger::nextRecord(quint32 timeMs, xcu::DataloggerDataResp& record)
{
    record.clear_values();
    for (const unsigned int channel : session.channels()) {
        if (channel < channels.size()) {
            record.add_values(value(channel, timeMs));
        }
    }
    record.set_sample_number(sampleNumber++);
    record.set_timestamp(timeMs);
}

int Datalogger::value(unsigned int channel, quint32 timeMs) const
{
    const int input = static_cast<int>(channel) - firstVirtualInput;
    if (input >= 0 && input < virtualInputCount) {
        return virtualInputs[input];
    }
    const LogChannel& wave = channels[channel];
    const auto steps = static_cast<quint64>(wave.high - wave.low) + 1;
    return wave.low + static_cast<int>(steps * fraction(wave, timeMs) >> fractionBits);
}
