// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"

namespace formats {

// The bits of one frame, 64 bytes of 8 bits; behind the frame's end they read as 0.
//
// Two bit orders. Least significant first: position p is bit p % 8 of byte p / 8, and a field
// begins with its lowest bit. Most significant first: position p is bit 7 - p % 8 of byte p / 8,
// and a field begins with its highest bit. With the bytes 0x12, 0x34, offset 4 and length 8 the
// first order gives 0x41, the second 0x23.
class FieldReader
{
public:
    static constexpr int BitCount = 512;

    // The frame outlives the reader.
    explicit FieldReader(const CanFrames& source)
        : frame(source)
        , size(payloadSize(source))
    {}

    // A field of `length` bits from position `offset`; bits outside the frame read as 0, and so
    // does a field of no or negative length. The result has 32 bits, sign-extended to 64: bits 32
    // apart are ORed, so an unsigned 32-bit field with its top bit set comes out near 2^64. Curves
    // and signal sets in use depend on that.
    quint64 leastSignificantFirst(int offset, int length) const;
    quint64 mostSignificantFirst(int offset, int length) const;

    // The single-precision value of modes 5 and 6 at `offset`, 0 to BitCount - 32. The bits of the
    // field keep their place within their byte, so the four bytes lie on top of one another and
    // only denormals up to 255 * 2^-149 come out. That is on purpose: it is what these modes have
    // always shown.
    double singlePrecision(int offset) const;

private:
    // The byte that holds the position, 0 to BitCount - 1.
    quint32 byteAt(qint64 position) const
    {
        return position < 8 * size ? frame.payload[position / 8] : 0;
    }

    const CanFrames& frame;
    const int size; // bytes of the payload that count
};

} // namespace formats
