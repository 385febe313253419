// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace chart {

constexpr double Infinite = std::numeric_limits<double>::infinity();

// From the lowest to the highest of some numbers; empty by default.
struct Span
{
    double lowest = Infinite;
    double highest = -Infinite;

    bool isEmpty() const { return !(lowest <= highest); }
    Span united(const Span& other) const
    {
        return {qMin(lowest, other.lowest), qMax(highest, other.highest)};
    }
    void include(double number) // unless it is infinite or NaN
    {
        if (std::isfinite(number)) {
            *this = united({number, number});
        }
    }
};

// Points of some channels at the same keys. An open block takes points, a packed one stays as it is
// and can be read from any thread. Packed whole numbers take as many bits as the difference of the
// highest and the lowest in the block needs, others 64.
class Block
{
public:
    static constexpr int PackedSize = 256; // at most
    static constexpr int OpenSize = 1024;

    Block(int width, bool isWhole);               // open
    Block(const Block& open, int first, int end); // packed

    int size() const { return static_cast<int>(keys.size()); }
    double key(int index) const { return keys[place(index)]; }
    double lastKey() const { return keys.back(); }
    int lowerBound(double key) const; // the first index whose key is not less
    double value(int channel, int index) const;
    Span extent(int channel, int first, int end) const;
    void insert(int index, double key, const double* values);

    const int width;       // channels, from number 0 on
    const bool isWhole;    // the values are whole, and 32 bits hold their differences
    bool isShared = false; // a snapshot has it, too: change a copy. For the history alone

private:
    struct Column
    {
        double lowest;
        double highest;
        quint32 start; // byte of the first value
        int bits;      // of each
    };

    static std::size_t place(int index) { return static_cast<std::size_t>(index); }
    quint64 bitsAt(const Column& column, int index) const;
    void pack(const double* values);

    std::vector<double> keys;
    std::vector<double> rows;    // of an open block, as they came
    std::vector<quint16> order;  // the row of each key
    std::vector<Column> columns; // of a packed block, by channel
    std::vector<uchar> bytes;
};

using BlockList = std::vector<std::shared_ptr<Block>>;

// The points of one channel, for a reader.
struct Series
{
    std::shared_ptr<const BlockList> blocks; // those of this channel are wider than its number
    int channel;
    bool isOrdered; // false if a key is NaN: then a search leads nowhere
};

// Points in the order in which QCPDataContainer::add keeps them: one that is not before the last
// goes behind it, a late one in front of the first whose key is not less. A run of late points is
// taken in as fast as any other.
class History
{
public:
    // isWhole: every value is a 32-bit integer.
    explicit History(bool isWhole)
        : whole(isWhole)
    {}

    // Adds a point to each of the channels 0 to width - 1; the next width may be another one. Tells
    // between which keys curves may look different for it. Throws std::bad_alloc, and adds nothing.
    Span add(double key, const double* values, int width);

    int count(int channel) const;
    std::pair<double, double> point(int channel, int index) const; // key and value
    int lowerBound(int channel, double key) const; // the first index whose key is not less

    // Until the next change; a snapshot, which takes 0.2 ms with 3.6 million records, for good.
    Series series(int channel) const;
    Series snapshot(int channel) const;

private:
    int makeRoom(double key, int width);
    void startBlock(std::size_t at, int width);
    void packOpen(int cut);

    bool whole;
    bool ordered = true;
    BlockList list;
    Block* open = nullptr; // the one block that takes points
    std::size_t openAt = 0;
    std::vector<int> counts; // by channel
    int revision = 0;        // changes unless a point or block comes behind the others

    // Where point() found the last one: the next is mostly near.
    mutable struct
    {
        int channel = -1;
        int revision = 0;
        int first = 0; // index of the first point of the block
        std::size_t block = 0;
    } cursor;
};

} // namespace chart
