// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/fieldreader.h"

#include <QtEndian>
#include <algorithm>
#include <cstring>

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

FieldReader::FieldReader(const CanFrames& frame)
{
    std::memcpy(bytes.data() + Guard, frame.payload, static_cast<std::size_t>(payloadSize(frame)));
}

// Rounds down, so that positions before the frame fall into the guard.
const unsigned char* FieldReader::byteAt(qint64 position) const
{
    return bytes.data() + Guard + (position >> 3);
}

quint64 FieldReader::leastSignificantFirst(int offset, int length) const
{
    // Word k begins at position offset + 32 k. Words that lie wholly outside are left out, or a
    // length of 2^31 would be a loop of seconds.
    quint32 word = 0;
    qint64 done = offset < 0 ? -qint64{offset} / WordBits * WordBits : 0;
    for (; done < length && offset + done < BitCount; done += WordBits) {
        const qint64 position = offset + done;
        const quint64 piece = qFromLittleEndian<quint64>(byteAt(position)) >> (position & 7);
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
        const quint64 piece = qFromBigEndian<quint64>(byteAt(position)) << (position & 7);
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
        word |= *byteAt(position) & mask;
        position = next;
    }
    float value = 0.0F;
    std::memcpy(&value, &word, sizeof value);
    return value;
}
