// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/datalogger.h"

#include "simulator/link.h"

#include <algorithm>
#include <cmath>
#include <random>

using namespace simulator;

namespace {

// A log channel of the virtual vehicle: name and kind for the configuration blocks, raw range and
// shape of the wave that its records show.
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
    for (unsigned int i = 0; i < virtualInputCount; ++i) {
        channels.insert(
            channels.begin() + firstVirtualInput + i,
            LogChannel{
                "Virtual input " + std::to_string(i + 1), Kind::Input, xcu::Input::CONSTANT, i});
    }
    for (int i = 0; channels.size() < logChannelCount; ++i) {
        channels.push_back(
            {"Spare " + std::to_string(i + 1), Kind::Input, xcu::Input::PHW, unsigned(i),
             static_cast<Shape>(i % 4), -20 * i, 500 + 30 * i, 1000 + 130 * unsigned(i)});
    }
    return channels;
}

const std::vector<LogChannel>& logChannels()
{
    static const std::vector<LogChannel> channels = makeChannels();
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

quint32 fractionOf(Shape shape, quint32 time, quint32 period, quint32 noise)
{
    constexpr quint32 levels = 8;
    switch (shape) {
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
    return sineFraction(time, period) / 16 * 15 + scramble(time + noise) % 4096;
}

} // namespace

std::string simulator::configurationBlock(const xcu::ConfigData& configuration)
{
    QByteArray block; // laid out like a frame of the link
    appendFrame(block, configuration);
    return block.toStdString();
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

Datalogger::Datalogger(int channels, quint32 seed)
    : channelCount(static_cast<unsigned int>(std::clamp(channels, 0, logChannelCount)))
{
    std::mt19937 random(seed);
    for (const LogChannel& channel : logChannels()) {
        const quint32 phaseMs = random() % channel.periodMs;
        waves.push_back({phaseMs, static_cast<quint32>(random())});
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
        if (channel < channelCount) {
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
    const LogChannel& wave = logChannels()[channel];
    const quint32 time = timeMs + waves[channel].phaseMs;
    const quint64 fraction = fractionOf(wave.shape, time, wave.periodMs, waves[channel].noise);
    const auto steps = static_cast<quint32>(wave.high - wave.low) + 1;
    return wave.low + static_cast<int>(steps * fraction >> fractionBits);
}
