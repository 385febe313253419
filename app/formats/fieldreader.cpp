// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/fieldreader.h"

#include <QtEndian>
#include <algorithm>
#include <cstring>

namespace formats {

namespace {

constexpr int WordBits = 32;

quint64 signExtended(quint32 word)
{
    return static_cast<quint64>(static_cast<qint64>(static_cast<qint32>(word)));
}

// The lowest `count` bits, all of them from 32 on.
quint32 lowBits(quint32 word, qint64 count)
{
    return count >= WordBits ? word : word & ((1U << count) - 1);
}

} // namespace

// The eight bytes from the one that holds the position, the first one lowest; bytes outside the
// frame are 0.
quint64 FieldReader::wordAt(qint64 position) const
{
    constexpr qint64 wordSize = sizeof(quint64);
    constexpr qint64 lastWord = sizeof frame.payload - wordSize;
    const qint64 byte = position >> 3; // rounds down, before the frame as well
    if (byte <= -wordSize || byte >= size) {
        return 0;
    }
    const qint64 from = qBound<qint64>(0, byte, lastWord);
    quint64 word = qFromLittleEndian<quint64>(frame.payload + from);
    if (from + wordSize > size) {
        word &= (quint64{1} << 8 * (size - from)) - 1;
    }
    return byte < from ? word << 8 * (from - byte) : word >> 8 * (byte - from);
}

quint64 FieldReader::leastSignificantFirst(int offset, int length) const
{
    // Word k begins at position offset + 32 k. Words that lie wholly outside are left out, or a
    // length of 2^31 would be a loop of seconds.
    quint32 word = 0;
    qint64 done = offset < 0 ? -qint64{offset} / WordBits * WordBits : 0;
    for (; done < length && offset + done < BitCount; done += WordBits) {
        const qint64 position = offset + done;
        const quint64 piece = wordAt(position) >> (position & 7);
        word |= lowBits(static_cast<quint32>(piece), length - done);
    }
    return signExtended(word);
}

quint64 FieldReader::mostSignificantFirst(int offset, int length) const
{
    // Word k ends at position offset + length - 1 - 32 k.
    quint32 word = 0;
    const qint64 end = qint64{offset} + length;
    const qint64 behind = end - BitCount;
    qint64 done = behind > 0 ? behind / WordBits * WordBits : 0;
    for (; done < length && end - done > 0; done += WordBits) {
        const qint64 position = end - done - WordBits;
        const quint64 piece = qbswap(wordAt(position)) << (position & 7);
        word |= lowBits(static_cast<quint32>(piece >> WordBits), length - done);
    }
    return signExtended(word);
}

double FieldReader::singlePrecision(int offset) const
{
    quint32 word = 0;
    for (int position = offset; position < offset + WordBits;) {
        const int next = std::min((position | 7) + 1, offset + WordBits);
        const unsigned mask = (0xffU << (position & 7)) & (0xffU >> (7 - ((next - 1) & 7)));
        word |= wordAt(position) & mask;
        position = next;
    }
    float value = 0.0F;
    std::memcpy(&value, &word, sizeof value);
    return value;
}

} // namespace formats
