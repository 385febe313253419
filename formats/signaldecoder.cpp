// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signaldecoder.h"

#include <cstring>

namespace formats {

namespace {

constexpr int WordBits = 32;
constexpr int BitCount = 8 * sizeof CanFrames::payload;

quint32 byteAt(const CanFrames& frame, qint64 position) // 0 to BitCount - 1
{
    return position / 8 < payloadSize(frame) ? frame.payload[position / 8] : 0;
}

// A field of `length` bits from position `offset`; bits outside the frame read as 0, and so does a
// field of no or negative length.
//
// Two bit orders. Least significant first: position p is bit p % 8 of byte p / 8, and a field
// begins with its lowest bit. Most significant first: position p is bit 7 - p % 8 of byte p / 8,
// and a field begins with its highest bit. With the bytes 0x12, 0x34, offset 4 and length 8 the
// first order gives 0x41, the second 0x23. Other modes read 0.
//
// The result has 32 bits, sign-extended to 64: bits 32 apart are ORed, so an unsigned 32-bit field
// with its top bit set comes out near 2^64. Curves and signal sets in use depend on that.
quint64 readField(const CanFrames& frame, int showMode, int offset, int length)
{
    const bool isLeastFirst = showMode == UnsignedLeastFirst || showMode == SignedLeastFirst;
    if (!isLeastFirst && showMode != UnsignedMostFirst && showMode != SignedMostFirst) {
        return 0;
    }
    quint32 word = 0;
    const qint64 end = qint64{offset} + length;
    for (qint64 p = qMax(offset, 0); p < qMin<qint64>(end, BitCount); ++p) {
        const quint32 bit = byteAt(frame, p) >> (isLeastFirst ? p % 8 : 7 - p % 8) & 1U;
        word |= bit << (isLeastFirst ? p - offset : end - 1 - p) % WordBits;
    }
    return static_cast<quint64>(static_cast<qint64>(static_cast<qint32>(word)));
}

// The bits of the field keep their place within their byte, so the four bytes lie on top of one
// another and only denormals up to 255 * 2^-149 come out. That is on purpose: it is what these
// modes have always shown.
double readSinglePrecision(const CanFrames& frame, int offset)
{
    quint32 word = 0;
    for (int p = offset; p < offset + WordBits; ++p) {
        word |= byteAt(frame, p) & 1U << p % 8;
    }
    float value = 0.0F;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

double rawValue(const CanSignalData& signal, const CanFrames& frame)
{
    const int mode = signal.showMode;
    if ((mode == SinglePrecision || mode == SinglePrecisionToo) && signal.bitLength == WordBits) {
        return readSinglePrecision(frame, signal.bitOffset);
    }
    // A length of 64 wraps to a bound of 1 and thus to no sign bit: such a signal is never
    // negative, on purpose.
    const quint64 bound = quint64{1} << (signal.bitLength % 64);
    const quint64 bits = readField(frame, mode, signal.bitOffset, signal.bitLength);
    if ((mode == SignedLeastFirst || mode == SignedMostFirst) && (bits & bound >> 1) != 0) {
        return static_cast<double>(static_cast<qint64>(bits | ~(bound - 1)));
    }
    return static_cast<double>(bits);
}

bool isOfMultiplexer(const CanSignalData& signal, const CanFrames& frame)
{
    const auto wanted = static_cast<quint64>(signal.muxValue);
    return signal.muxLength == 0 ||
           readField(frame, signal.showMode, signal.muxOffset, signal.muxLength) == wanted;
}

} // namespace

bool isDrawable(const CanSignalData& signal)
{
    return signal.bitLength >= 1 && signal.bitOffset >= 0 &&
           qint64{signal.bitOffset} + signal.bitLength <= BitCount;
}

std::optional<double> signalValue(const CanSignalData& signal, const CanFrames& frame)
{
    const bool hasLength = signal.requiredLength == -1 || frame.length == signal.requiredLength;
    if (!hasLength || !isOfMultiplexer(signal, frame)) {
        return std::nullopt;
    }
    return rawValue(signal, frame) * signal.multiplier + signal.addend;
}

void drawSignal(
    const CanSignalData& signal, const QVector<CanFrames>& frames, FrameIndex& index,
    const std::function<void(double time, double value)>& addPoint)
{
    if (!signal.plotted) {
        return;
    }
    index.extend(frames);
    std::optional<double> held;
    for (const int position : index.positions(signal.frameId)) {
        const CanFrames& frame = frames.at(position);
        if (const auto value = signalValue(signal, frame)) {
            if (held) {
                addPoint(frame.frameTime, *held);
            }
            addPoint(frame.frameTime, *value);
            held = value;
        }
    }
}

} // namespace formats
