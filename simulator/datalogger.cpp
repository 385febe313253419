// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/datalogger.h"

#include <algorithm>
#include <cmath>
#include <random>

using namespace simulator;

namespace {

// All shapes are fractions of the span in 1/65536, so that a value costs no floating point.
constexpr int fractionBits = 16;
constexpr quint32 sineSteps = 1024;

std::array<quint32, sineSteps> makeSine()
{
    constexpr double turn = 6.283185307179586;
    std::array<quint32, sineSteps> sine;
    for (quint32 i = 0; i < sineSteps; ++i) {
        sine[i] = static_cast<quint32>(std::lround(32767.5 * (1 + std::sin(turn * i / sineSteps))));
    }
    return sine;
}

quint32 scramble(quint32 x)
{
    x = (x ^ (x >> 16)) * 0x45d9f3bU;
    x = (x ^ (x >> 16)) * 0x45d9f3bU;
    return x ^ (x >> 16);
}

quint32 sineFraction(quint32 time, quint32 period)
{
    static const std::array<quint32, sineSteps> sine = makeSine();
    return sine[quint64(time % period) * sineSteps / period];
}

quint32 fractionOf(LogChannel::Shape shape, quint32 time, quint32 period, quint32 noise)
{
    constexpr quint32 levels = 8;
    switch (shape) {
    case LogChannel::Shape::Sine:
        return sineFraction(time, period);
    case LogChannel::Shape::Sawtooth:
        return (quint64(time % period) << fractionBits) / period;
    case LogChannel::Shape::Steps:
        return scramble(time / period) % levels * ((1U << fractionBits) - 1) / (levels - 1);
    case LogChannel::Shape::Noise:
        break;
    }
    // A sine of fifteen sixteenths of the span, with a tremble on top.
    return sineFraction(time, period) / 16 * 15 + scramble(time + noise) % 4096;
}

} // namespace

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
