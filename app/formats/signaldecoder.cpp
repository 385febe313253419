// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/signaldecoder.h"

#include "formats/fieldreader.h"

namespace formats {

namespace {

class SignalDecoder
{
public:
    explicit SignalDecoder(const CanSignalData& definition);

    bool isCarriedBy(const CanFrames& frame, const FieldReader& reader) const;
    double valueIn(const FieldReader& reader) const;

private:
    quint64 field(const FieldReader& reader, int offset, int length) const;
    double rawValue(const FieldReader& reader) const;

    const CanSignalData& signal;
    const bool isSigned;
    const bool isSingle;
    quint64 signBit;
    quint64 upperMask;
};

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

bool SignalDecoder::isCarriedBy(const CanFrames& frame, const FieldReader& reader) const
{
    if (signal.requiredLength != -1 && frame.length != signal.requiredLength) {
        return false;
    }
    return signal.muxLength == 0 || field(reader, signal.muxOffset, signal.muxLength) ==
                                        static_cast<quint64>(signal.muxValue);
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

double SignalDecoder::valueIn(const FieldReader& reader) const
{
    return rawValue(reader) * signal.multiplier + signal.addend;
}

bool isDrawable(const CanSignalData& signal)
{
    return signal.bitLength >= 1 && signal.bitOffset >= 0 &&
           qint64{signal.bitOffset} + signal.bitLength <= FieldReader::BitCount;
}

} // namespace

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
        const FieldReader reader(frame);
        if (decoder.isCarriedBy(frame, reader)) {
            curve.append({frame.frameTime, decoder.valueIn(reader)});
        }
    }
    return curve;
}

} // namespace formats
