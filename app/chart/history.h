// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace chart {

constexpr double Infinite = std::numeric_limits<double>::infinity();

// From the lowest to the highest of some numbers; empty by default.
struct Span
{
    double lowest = Infinite;
    double highest = -Infinite;

    bool isEmpty() const { return !(lowest <= highest); }
    void unite(const Span& other)
    {
        lowest = std::min(lowest, other.lowest);
        highest = std::max(highest, other.highest);
    }
    void include(double number) // unless it is infinite or NaN
    {
        if (std::isfinite(number)) {
            unite({number, number});
        }
    }
};

struct Point
{
    double key = 0;
    double value = 0;
};

// Points of neighbouring channels at the same keys, one point or more. An open block takes points.
// A packed one takes less memory and never changes, so that any thread may read it.
class Block
{
public:
    static constexpr int PackedSize = 256; // points, at most
    static constexpr int OpenSize = 2 * PackedSize;

    Block(int firstChannel, int channels);         // open, and empty until insert()
    Block(const Block& other, int begin, int end); // packed, with these points of another one

    static Block opened(const Block& packed); // with the same points

    bool isOpen() const { return open; }
    bool holds(int channel) const { return channel >= first && channel < first + width(); }
    bool isFor(int firstOfThem, int howMany) const // these channels and no others
    {
        return first == firstOfThem && width() == howMany;
    }

    int size() const { return int(times.size()); }
    const std::vector<double>& keys() const { return times; }
    int lowerBound(double key) const // the first index whose key is not less
    {
        return int(std::lower_bound(times.begin(), times.end(), key) - times.begin());
    }
    int upperBound(double key) const // the first index whose key is greater
    {
        return int(std::upper_bound(times.begin(), times.end(), key) - times.begin());
    }
    double value(int channel, int index) const;
    Point point(int channel, int index) const { return {times[index], value(channel, index)}; }
    Span extent(int channel, int begin, int end) const; // of the values of one point or more

    // Does not throw.
    void insert(int index, double key, const double* values);

private:
    // Where the values of a channel are, and how: doubles, or what whole numbers are above the
    // lowest, in fewer bits.
    struct Values
    {
        Span extent;           // empty while the block is open
        std::size_t start = 0; // byte of the first value
        int bits = 64;         // of each
    };

    int width() const { return int(channels.size()); }
    quint64 distance(const Values& values, int index) const; // of a packed value from the lowest
    void pack(const double* values);

    int first; // channel
    bool open;
    std::vector<double> times;
    std::vector<Values> channels;
    std::vector<unsigned char> bytes;
};

// Points in the order in which QCPDataContainer::add keeps them: one that is not before the last
// goes behind it, a late one in front of the first whose key is not less. Late is what is before
// the last point of any channel. A point whose key is NaN has no place, and is left out.
//
// The blocks are sorted: a block begins where the one before it ends, or later. None is empty. Two
// at most are open, so that late and other points may alternate: the last block, and `late`.
//
// A copy shares the packed blocks; another thread may read it while the original grows. It takes
// 0.2 ms with 3.6 million records.
class History
{
public:
    History() = default;
    History(const History& other);
    History& operator=(History&&) = default;

    // Adds a point to each of some neighbouring channels. Gives the keys between which their curves
    // may change. Throws std::bad_alloc, and adds nothing.
    Span add(double key, const double* values, int firstChannel, int width);

    int count(int channel) const { return pointsOf(channel).count; }
    Span keys(int channel) const { return pointsOf(channel).keys; }
    Point point(int channel, int index) const; // 0, 0 if there is none; walks over the blocks

    // Calls use(block, begin, end) for the points of a channel between two keys and for one on
    // either side, as far as there are any, until use() gives false.
    template <typename Use>
    void visit(int channel, const Span& keys, Use use) const;

private:
    struct Points
    {
        int count = 0;
        Span keys; // between which they are
    };
    struct Place
    {
        int block; // the number of blocks for a new one at the end
        int index; // of the point in the block
    };

    Points pointsOf(int channel) const
    {
        return channel < int(channels.size()) ? channels[channel] : Points();
    }
    int blockAt(double key) const; // the first with a key that is not less
    Place placeOf(double key) const;
    Place makeRoom(double key, int firstChannel, int width);
    void split(int at, int index);
    void pack(int at);

    std::vector<std::shared_ptr<Block>> blocks;
    int late = -1; // the open block that is not the last, if any
    std::vector<Points> channels;
};

template <typename Use>
void History::visit(int channel, const Span& keys, Use use) const
{
    const Points points = pointsOf(channel);
    if (points.count == 0 || keys.isEmpty()) {
        return;
    }
    // Not behind the last point: the search would walk over all blocks of other channels.
    const double lowest = std::min(keys.lowest, points.keys.highest);
    int at = blockAt(lowest);
    while (lowest > points.keys.lowest &&
           !(blocks[at]->holds(channel) && blocks[at]->keys().front() < lowest)) {
        --at;
    }
    for (; at < int(blocks.size()) && blocks[at]->keys().front() <= points.keys.highest; ++at) {
        const Block& block = *blocks[at];
        if (block.holds(channel)) {
            const bool isCutBefore = block.keys().front() < lowest;
            const bool isCutBehind = block.keys().back() > keys.highest;
            const int begin = isCutBefore ? block.lowerBound(lowest) - 1 : 0;
            const int end = isCutBehind ? block.upperBound(keys.highest) + 1 : block.size();
            if (!use(block, begin, end) || isCutBehind) {
                return;
            }
        }
    }
}

} // namespace chart
