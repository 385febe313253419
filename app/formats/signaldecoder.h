// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/cansignaldata.h"
#include "formats/frameindex.h"
#include "formats/graphpoint.h"

#include <optional>
#include <vector>

namespace formats {

class FieldReader;

// How a signal is read from its frames: the values of CanSignalData::showMode. Any other value
// gives a raw value of 0, so the curve is the constant addend.
enum SignalMode {
    NotPlotted = 0,
    UnsignedLeastFirst = 1, // least significant bit first
    UnsignedMostFirst = 2,  // most significant bit first
    SignedLeastFirst = 3,
    SignedMostFirst = 4,
    SinglePrecision = 5, // see FieldReader::singlePrecision; 0 unless the signal has 32 bits
    SinglePrecisionToo = 6,
};

// Whether the signal has a bit, and lies within the 64 bytes of a frame.
bool isDrawable(const CanSignalData& signal);

// One drawable signal of the frames of its identifier.
class SignalDecoder
{
public:
    // The definition outlives the decoder.
    explicit SignalDecoder(const CanSignalData& definition);

    // The physical value; none if the frame, by its length or its multiplexer, does not carry the
    // signal. The identifier is not looked at.
    std::optional<double> valueIn(const CanFrames& frame) const;

private:
    quint64 field(const FieldReader& reader, int offset, int length) const;
    double rawValue(const FieldReader& reader) const;

    const CanSignalData& signal;
    const bool isSigned;
    const bool isSingle;
    quint64 signBit;
    quint64 upperMask;
};

// The curve of a signal over the frames, in frame order: a staircase that holds each value until
// the next frame and then changes with a vertical step. The first frame gives one point, each
// further one two, also when nothing changed. Empty if the signal is not plotted. No value if the
// signal has no bit or does not lie within the 64 bytes of a frame: the curve on the chart then
// stays as it is, even if the signal is no longer plotted.
//
// The index is brought up to date first.
std::optional<Staircase> signalCurve(
    const CanSignalData& signal, const QVector<CanFrames>& frames, FrameIndex& index);

} // namespace formats
