// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signaldecoder.h"

#include "formats/fieldreader.h"

namespace formats {

SignalDecoder::SignalDecoder(const CanSignalData& definition)
    : signal(definition)
    , isSigned(definition.showMode == SignedLeastFirst || definition.showMode == SignedMostFirst)
    , isSingle(
          (definition.showMode == SinglePrecision || definition.showMode == SinglePrecisionToo) &&
          definition.bitLength == 32)
{
    // A length of 64 wraps to a bound of 1 and thus to no sign bit: such a signal is never
    // negative, on purpose.
    const quint64 bound = quint64{1} << (signal.bitLength % 64);
    signBit = bound >> 1;
    upperMask = ~(bound - 1);
}

quint64 SignalDecoder::field(const FieldReader& reader, int offset, int length) const
{
    switch (signal.showMode) {
    case UnsignedLeastFirst:
    case SignedLeastFirst:
        return reader.leastSignificantFirst(offset, length);
    case UnsignedMostFirst:
    case SignedMostFirst:
        return reader.mostSignificantFirst(offset, length);
    default:
        return 0;
    }
}

double SignalDecoder::rawValue(const FieldReader& reader) const
{
    if (isSingle) {
        return reader.singlePrecision(signal.bitOffset);
    }
    const quint64 bits = field(reader, signal.bitOffset, signal.bitLength);
    if (isSigned && (bits & signBit) != 0) {
        return static_cast<double>(static_cast<qint64>(bits | upperMask));
    }
    return static_cast<double>(bits);
}

std::optional<double> SignalDecoder::valueIn(const CanFrames& frame) const
{
    const FieldReader reader(frame);
    const bool hasLength = signal.requiredLength == -1 || frame.length == signal.requiredLength;
    if (!hasLength || (signal.muxLength != 0 && field(reader, signal.muxOffset, signal.muxLength) !=
                                                    static_cast<quint64>(signal.muxValue))) {
        return std::nullopt;
    }
    return rawValue(reader) * signal.multiplier + signal.addend;
}

bool isDrawable(const CanSignalData& signal)
{
    return signal.bitLength >= 1 && signal.bitOffset >= 0 &&
           qint64{signal.bitOffset} + signal.bitLength <= FieldReader::BitCount;
}

std::optional<Staircase> signalCurve(
    const CanSignalData& signal, const QVector<CanFrames>& frames, FrameIndex& index)
{
    if (!isDrawable(signal)) {
        return std::nullopt;
    }
    Staircase curve;
    if (!signal.plotted) {
        return curve;
    }
    index.extend(frames);
    const SignalDecoder decoder(signal);
    const QVector<int> positions = index.positions(signal.frameId);
    curve.reserve(static_cast<std::size_t>(positions.size()));
    for (const int position : positions) {
        const CanFrames& frame = frames.at(position);
        if (const auto value = decoder.valueIn(frame)) {
            curve.append({frame.frameTime, *value});
        }
    }
    return curve;
}

} // namespace formats
