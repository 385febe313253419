// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/fieldreader.h"

#include <cstring>

namespace formats {

namespace {

constexpr int WordBits = 32;

quint64 signExtended(quint32 word)
{
    return static_cast<quint64>(static_cast<qint64>(static_cast<qint32>(word)));
}

} // namespace

quint64 FieldReader::leastSignificantFirst(int offset, int length) const
{
    quint32 word = 0;
    const qint64 end = qMin<qint64>(qint64{offset} + length, BitCount);
    for (qint64 p = qMax(offset, 0); p < end; ++p) {
        const quint32 bit = byteAt(p) >> p % 8 & 1U;
        word |= bit << (p - offset) % WordBits;
    }
    return signExtended(word);
}

quint64 FieldReader::mostSignificantFirst(int offset, int length) const
{
    quint32 word = 0;
    const qint64 last = qint64{offset} + length - 1; // of the lowest bit
    for (qint64 p = qMin<qint64>(last, BitCount - 1); p >= qMax(offset, 0); --p) {
        const quint32 bit = byteAt(p) >> (7 - p % 8) & 1U;
        word |= bit << (last - p) % WordBits;
    }
    return signExtended(word);
}

double FieldReader::singlePrecision(int offset) const
{
    quint32 word = 0;
    for (int p = offset; p < offset + WordBits; ++p) {
        word |= byteAt(p) & 1U << p % 8;
    }
    float value = 0.0F;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

} // namespace formats
