// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/frameindex.h"

#include <QString>
#include <functional>
#include <optional>

// One signal that is decoded from imported frames: a row of the signal table. Bit positions and
// lengths are as the user typed them and may be anything; the decoder checks what it needs.
struct CanSignalData
{
    int frameId = 0;
    int bitOffset = 0;
    int bitLength = 0;
    double multiplier = 0.0;
    double addend = 0.0; // added after the factor
    bool plotted = false;
    int muxOffset = 0;
    int muxLength = 0; // 0: no multiplexer
    qint64 muxValue = 0;
    int showMode = 0;        // see SignalMode
    int requiredLength = -1; // bytes that a frame must have; -1 takes any
    QString signalName;
};

namespace formats {

// How a signal is read from its frames: the values of CanSignalData::showMode. Any other value
// gives a raw value of 0, so the curve is the constant addend.
enum SignalMode {
    NotPlotted = 0,
    UnsignedLeastFirst = 1, // least significant bit first
    UnsignedMostFirst = 2,  // most significant bit first
    SignedLeastFirst = 3,
    SignedMostFirst = 4,
    SinglePrecision = 5, // only denormals come out; 0 unless the signal has 32 bits
    SinglePrecisionToo = 6,
};

// Whether the signal has a bit, and lies within the 64 bytes of a frame.
bool isDrawable(const CanSignalData& signal);

// The physical value of a drawable signal; none if the frame, by its length or its multiplexer,
// does not carry the signal. The identifier is not looked at.
std::optional<double> signalValue(const CanSignalData& signal, const CanFrames& frame);

// Gives out the curve of a drawable signal over the frames, in frame order: a staircase that holds
// each value until the next frame and then changes with a vertical step. The first frame gives one
// point, each further one two, also when nothing changed. None if the signal is not plotted.
//
// The index is brought up to date first.
void drawSignal(
    const CanSignalData& signal, const QVector<CanFrames>& frames, FrameIndex& index,
    const std::function<void(double time, double value)>& addPoint);

} // namespace formats
