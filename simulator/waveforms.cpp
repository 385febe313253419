// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/waveforms.h"

#include <array>
#include <cmath>
#include <random>

namespace simulator {

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

quint32 stepFraction(quint32 time, quint32 period)
{
    constexpr quint32 levels = 8;
    return scramble(time / period) % levels * ((1U << fractionBits) - 1) / (levels - 1);
}

} // namespace

Waveforms::Waveforms(quint32 seed)
{
    std::mt19937 random(seed);
    for (const LogChannel& channel : logChannels()) {
        Wave wave = {};
        wave.shape = channel.shape;
        wave.low = channel.low;
        wave.span = static_cast<quint32>(channel.high - channel.low);
        wave.periodMs = channel.periodMs;
        wave.phaseMs = random() % channel.periodMs;
        wave.noise = static_cast<quint32>(random());
        waves.push_back(wave);
    }
}

int Waveforms::value(unsigned int channel, quint32 timeMs) const
{
    const Wave& wave = waves[channel];
    const quint32 time = timeMs + wave.phaseMs;
    quint32 fraction = 0;
    switch (wave.shape) {
    case LogChannel::Shape::Sine:
        fraction = sineFraction(time, wave.periodMs);
        break;
    case LogChannel::Shape::Sawtooth:
        fraction = (quint64(time % wave.periodMs) << fractionBits) / wave.periodMs;
        break;
    case LogChannel::Shape::Steps:
        fraction = stepFraction(time, wave.periodMs);
        break;
    case LogChannel::Shape::Noise:
        // A sine of fifteen sixteenths of the span, with a tremble on top.
        fraction = sineFraction(time, wave.periodMs) / 16 * 15 + scramble(time + wave.noise) % 4096;
        break;
    }
    return wave.low + static_cast<int>((quint64(wave.span + 1) * fraction) >> fractionBits);
}

} // namespace simulator
