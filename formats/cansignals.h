// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/stricttraces.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class QIODevice;

namespace formats {

// The signals of a database, and how they lie in their frames. This is the converter's decoder;
// that of the console's charts is signaldecoder.h, whose limits are its own.

// 1 to 64 bits within 64 bytes.
class BitField
{
public:
    // Intel: `start` is the lowest bit, bit p % 8 of byte p / 8. Motorola: it is the highest one,
    // bit 7 - p % 8 of byte p / 8. None for what does not lie within 64 bytes.
    static std::optional<BitField> from(int start, int bits, bool isIntel);

    std::uint64_t read(const unsigned char* bytes) const;

    int bitCount = 0;
    int bytesNeeded = 0; // that a frame must have

private:
    int highest = 0; // place of the byte with the highest bits
    int step = 0;    // from byte to byte, towards the lowest bits
    int count = 0;   // of bytes
    int unused = 0;  // bits of the first byte, above the field
    int surplus = 0; // bits of the last byte, below the field
};

struct CanSignal
{
    enum Type { Unsigned, Signed, Float };
    enum Identifiers { Standard = 1, Extended = 2, Either = 3 };
    struct Condition // of a multiplexed signal: the multiplexer is in one of the ranges
    {
        BitField multiplexer;
        std::vector<std::pair<std::uint64_t, std::uint64_t>> ranges;
    };

    std::string name;
    std::string message; // the frame's name; may be empty
    std::string unit;
    std::uint32_t id = 0;
    Identifiers kind = Either;
    BitField field;
    Type type = Unsigned;
    double factor = 1.0;
    double addend = 0.0;
    int frameLength = -1; // that a frame must have; -1 takes any
    std::vector<Condition> conditions;
    std::vector<std::pair<double, std::string>> texts; // of physical values

    // The physical value; none if the frame does not carry the signal, for one by its length. The
    // identifier is not looked at.
    std::optional<double> value(const TraceFrame& frame) const;
    double physical(std::uint64_t raw) const;
};

// The table that xcu-signals --table prints. Behind the line with the mark each line is a signal of
// these fields, separated by tabs: "standard" or "extended"; identifier, behind "0x"; name of the
// frame; name; place, "<start>,<bits>,<intel or motorola>" as for BitField; "unsigned", "signed" or
// "float"; factor; addend; unit; the multiplexers that have to be set, separated by blanks, each
// "<place>:<first>-<last>,..."; and any further ones the texts of raw values, "<value>=<text>".
constexpr char SignalTableMark[] = "xcu-signals table 1";
std::vector<CanSignal> readSignalTable(QIODevice& device, const WarningFunction& warn);

// A signal set of the console, read strictly: what would be decoded into nonsense is left out.
// "Show" 0 is taken as 1, and said so. A set that was made for .candump files, by the last field,
// gives none.
std::vector<CanSignal> readSignalsOfSet(QIODevice& device, const WarningFunction& warn);

} // namespace formats
