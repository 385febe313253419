// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
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

// Points of neighbouring channels at the same keys. An open block takes points, a packed one stays
// as it is: any thread may read it.
class Block
{
public:
    static constexpr int PackedSize = 256; // points, at most
    static constexpr int OpenSize = 2 * PackedSize;

    Block(int firstChannel, int channels);         // open
    Block(const Block& other, int begin, int end); // packed, with these points of another one

    bool holds(int channel) const { return channel >= first && channel < first + width(); }
    bool isFor(int firstOfThem, int howMany) const // these channels and no others
    {
        return first == firstOfThem && width() == howMany;
    }
    int firstChannel() const { return first; }
    int width() const { return static_cast<int>(columns.size()); }

    int size() const { return static_cast<int>(times.size()); }
    const std::vector<double>& keys() const { return times; }
    int lowerBound(double key) const // the first index whose key is not less
    {
        return static_cast<int>(std::lower_bound(times.begin(), times.end(), key) - times.begin());
    }
    int upperBound(double key) const // the first index whose key is greater
    {
        return static_cast<int>(std::upper_bound(times.begin(), times.end(), key) - times.begin());
    }
    double value(int channel, int index) const;
    Point point(int channel, int index) const
    {
        return {times[static_cast<std::size_t>(index)], value(channel, index)};
    }
    Span extent(int channel, int begin, int end) const; // of one point or more

    // Does not throw.
    void insert(int index, double key, const double* values);

private:
    // The values of a channel: doubles, or whole numbers above the lowest in fewer bits.
    struct Column
    {
        Span values;           // empty while the block is open
        std::size_t start = 0; // byte of the first value
        int bits = 64;         // of each
    };

    quint64 distance(const Column& column, int index) const; // of a packed value from the lowest
    void pack(const double* values);

    int first;
    std::vector<double> times;
    std::vector<Column> columns;
    std::vector<unsigned char> bytes;
};

// Points in the order in which QCPDataContainer::add keeps them: one that is not before the last
// goes behind it, a late one in front of the first whose key is not less. Late is what is before
// the last point of any channel. A copy shares the packed blocks; another thread may read it while
// the original grows. It takes 0.2 ms with 3.6 million records.
class History
{
public:
    History() = default;
    History(const History& other);
    History& operator=(const History&) = delete;

    // Adds a point to each of some neighbouring channels. Tells between which keys their curves may
    // look different for it. Throws std::bad_alloc, and adds nothing.
    Span add(double key, const double* values, int firstChannel, int width);
    void clear()
    {
        blocks.clear();
        open = nullptr;
        channels.clear();
        starts.clear();
        ordered = true;
    }

    // These walk over blocks after a change, never over points. Not for a history that grows in
    // another thread.
    int count(int channel) const { return pointsOf(channel).count; }
    Point point(int channel, int index) const;     // 0, 0 if there is none
    int lowerBound(int channel, double key) const; // the first index whose key is not less

    // Calls use(block, begin, end) for the points of a channel between two keys and for one on
    // either side, as far as there are any.
    template <typename Use>
    void visit(int channel, const Span& keys, Use use) const;

    // False if a key is NaN: then a search leads nowhere, and visit() knows no limits.
    bool isOrdered() const { return ordered; }

private:
    struct Points
    {
        int count = 0;
        Span keys; // between which they are
    };

    Points pointsOf(int channel) const
    {
        const auto at = static_cast<std::size_t>(channel);
        return at < channels.size() ? channels[at] : Points();
    }
    std::size_t blockAt(double key) const; // the first with a key that is not less
    const std::vector<int>& startsOf(int channel) const;
    int makeRoom(double key, int firstChannel, int width);
    void split(std::size_t at, int index);
    void unpack(std::size_t at);
    void startBlock(std::size_t at, int firstChannel, int width);

    bool ordered = true;
    std::vector<std::shared_ptr<Block>> blocks;
    Block* open = nullptr; // the one that takes points
    std::size_t openAt = 0;
    std::vector<Points> channels;
    // By channel, if somebody asked: how many of its points are before each block.
    mutable std::map<int, std::vector<int>> starts;
};

template <typename Use>
void History::visit(int channel, const Span& keys, Use use) const
{
    const Points points = pointsOf(channel);
    if (points.count == 0) {
        return;
    }
    // Beyond the points there is one to find, or a search for it might walk all blocks.
    const double before = std::nextafter(points.keys.lowest, -Infinite);
    const double behind = std::nextafter(points.keys.highest, Infinite);
    const double lowest = std::clamp(keys.lowest, before, behind);
    const double highest = std::clamp(keys.highest, lowest, behind);
    const auto reachesBefore = [lowest](const Block& block) {
        return block.keys().front() < lowest;
    };
    const auto reachesBehind = [highest](const Block& block) {
        return block.keys().back() > highest;
    };
    auto begin = blocks.begin();
    auto end = blocks.end();
    if (ordered) {
        begin += static_cast<std::ptrdiff_t>(blockAt(lowest));
        end = std::partition_point(
            begin, end, [&](const auto& block) { return block->keys().front() <= highest; });
        if (lowest > points.keys.lowest) {
            while (begin == blocks.end() || !(*begin)->holds(channel) || !reachesBefore(**begin)) {
                --begin;
            }
        }
        if (highest < points.keys.highest) {
            while (end == blocks.begin() || !(*(end - 1))->holds(channel) ||
                   !reachesBehind(**(end - 1))) {
                ++end;
            }
        }
    }
    bool goesOn = true;
    for (; goesOn && begin != end; ++begin) {
        const Block& block = **begin;
        if (block.holds(channel)) {
            const bool isCutBefore = ordered && reachesBefore(block);
            const bool isCutBehind = ordered && reachesBehind(block);
            goesOn =
                use(block, isCutBefore ? block.lowerBound(lowest) - 1 : 0,
                    isCutBehind ? block.upperBound(highest) + 1 : block.size());
        }
    }
}

} // namespace chart
