// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/history.h"

#include <QtAlgorithms>
#include <QtEndian>
#include <array>
#include <cstring>

namespace chart {

namespace {

// Values of a channel in an open block. Not a power of two, or all channels would share a few lines
// of the processor's cache.
constexpr std::size_t OpenColumn = Block::OpenSize + 8;

std::size_t place(int index)
{
    return static_cast<std::size_t>(index);
}

bool isInt32(double value)
{
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max() &&
           value == static_cast<int>(value) && !(value == 0 && std::signbit(value));
}

} // namespace

Block::Block(int firstChannel, int channels)
    : first(firstChannel)
    , columns(place(channels))
    , bytes(columns.size() * OpenColumn * sizeof(double))
{
    times.reserve(OpenSize);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        columns[i].start = i * OpenColumn * sizeof(double);
    }
}

Block::Block(const Block& other, int begin, int end)
    : first(other.first)
    , times(other.times.begin() + begin, other.times.begin() + end)
{
    columns.reserve(other.columns.size());
    std::array<double, PackedSize> values;
    for (int channel = first; other.holds(channel); ++channel) {
        for (int i = begin; i < end; ++i) {
            values[place(i - begin)] = other.value(channel, i);
        }
        pack(values.data());
    }
    bytes.resize(bytes.size() + sizeof(quint64)); // a value is read with the seven bytes behind it
    bytes.shrink_to_fit();
}

void Block::pack(const double* values)
{
    Column column;
    column.start = bytes.size();
    bool isWhole = true;
    for (int i = 0; i < size(); ++i) {
        column.values.include(values[i]);
        isWhole = isWhole && isInt32(values[i]);
    }
    if (isWhole) {
        const auto spread = static_cast<quint32>(column.values.highest - column.values.lowest);
        column.bits = 32 - static_cast<int>(qCountLeadingZeroBits(spread));
    }
    columns.push_back(column);
    bytes.resize(column.start + place((size() * column.bits + 31) / 32) * sizeof(quint32));
    unsigned char* to = bytes.data() + column.start;
    if (!isWhole) {
        std::memcpy(to, values, times.size() * sizeof(double));
        return;
    }
    quint64 word = 0;
    int used = 0;
    for (int i = 0; i < size() && column.bits > 0; ++i) {
        word |= static_cast<quint64>(values[i] - column.values.lowest) << used;
        used += column.bits;
        if (used >= 32) {
            qToLittleEndian(static_cast<quint32>(word), to);
            to += sizeof(quint32);
            word >>= 32;
            used -= 32;
        }
    }
    if (used > 0) {
        qToLittleEndian(static_cast<quint32>(word), to);
    }
}

quint64 Block::distance(const Column& column, int index) const
{
    const std::size_t at = place(index) * place(column.bits);
    const auto bits = qFromLittleEndian<quint64>(&bytes[column.start + at / 8]);
    return bits >> at % 8 & ((quint64{1} << column.bits) - 1);
}

double Block::value(int channel, int index) const
{
    const Column& column = columns[place(channel - first)];
    if (column.bits == 64) {
        double value = 0;
        std::memcpy(&value, &bytes[column.start + place(index) * sizeof value], sizeof value);
        return value;
    }
    return column.values.lowest + static_cast<double>(distance(column, index));
}

Span Block::extent(int channel, int begin, int end) const
{
    const Column& column = columns[place(channel - first)];
    if (!column.values.isEmpty() && end - begin == size()) {
        return column.values;
    }
    Span values;
    if (column.bits == 64) {
        for (int i = begin; i < end; ++i) {
            values.include(value(channel, i));
        }
        return values;
    }
    quint64 least = distance(column, begin);
    quint64 most = least;
    for (int i = begin + 1; i < end; ++i) {
        const quint64 next = distance(column, i);
        least = std::min(least, next);
        most = std::max(most, next);
    }
    const double lowest = column.values.lowest;
    return {lowest + static_cast<double>(least), lowest + static_cast<double>(most)};
}

void Block::insert(int index, double key, const double* values)
{
    const std::size_t behind = place(size() - index) * sizeof(double);
    for (const Column& column : columns) {
        unsigned char* const to = &bytes[column.start + place(index) * sizeof(double)];
        std::memmove(to + sizeof(double), to, behind);
        std::memcpy(to, values++, sizeof(double));
    }
    times.insert(times.begin() + index, key);
}

History::History(const History& other)
    : ordered(other.ordered)
    , blocks(other.blocks)
    , channels(other.channels)
{
    if (other.open) {
        blocks[other.openAt] = std::make_shared<Block>(*other.open);
    }
}

Span History::add(double key, const double* values, int firstChannel, int width)
{
    channels.resize(std::max(channels.size(), place(firstChannel + width)));
    const int index = makeRoom(key, firstChannel, width);
    open->insert(index, key, values);
    for (int i = firstChannel; i < firstChannel + width; ++i) {
        ++channels[place(i)].count;
        channels[place(i)].keys.unite({key, key});
    }
    if (openAt + 1 < blocks.size()) {
        starts.clear();
    }
    ordered = ordered && !std::isnan(key);
    if (!ordered) {
        return {-Infinite, Infinite};
    }
    const auto& keys = open->keys();
    // Where a neighbour holds other channels, a line may come from far away.
    const auto isNear = [&](std::size_t at) { return blocks[at]->isFor(firstChannel, width); };
    Span changed{key, key};
    if (index > 0) {
        changed.lowest = keys[place(index - 1)];
    } else if (openAt > 0) {
        changed.lowest = isNear(openAt - 1) ? blocks[openAt - 1]->keys().back() : -Infinite;
    }
    if (index + 1 < open->size()) {
        changed.highest = keys[place(index + 1)];
    } else if (openAt + 1 < blocks.size()) {
        changed.highest = isNear(openAt + 1) ? blocks[openAt + 1]->keys().front() : Infinite;
    }
    return changed;
}

// Opens the block to which the new point belongs, and gives its index there.
int History::makeRoom(double key, int firstChannel, int width)
{
    const auto isAlike = [&](std::size_t at) { return blocks[at]->isFor(firstChannel, width); };
    const auto hasRoom = [&](std::size_t at) {
        return open && at == openAt && isAlike(at) && open->size() < Block::OpenSize;
    };
    for (;;) {
        std::size_t at = blocks.size();
        int index = 0;
        if (at > 0 && key < blocks.back()->keys().back()) {
            at = blockAt(key);
            index = blocks[at]->lowerBound(key);
        }
        if (index == 0 && at > 0 && hasRoom(at - 1)) {
            return open->size();
        }
        if (at < blocks.size() && hasRoom(at)) {
            return index;
        }
        if (open) {
            split(openAt, std::min(open->size(), Block::PackedSize));
        } else if (index == 0) {
            startBlock(at, firstChannel, width);
            return 0;
        } else if (isAlike(at)) {
            unpack(at);
        } else {
            split(at, index);
        }
    }
}

// Packs the points of a block before an index, and the rest if there is any.
void History::split(std::size_t at, int index)
{
    const std::shared_ptr<Block> whole = blocks[at];
    auto front = std::make_shared<Block>(*whole, 0, index);
    if (index < whole->size()) {
        auto rest = std::make_shared<Block>(*whole, index, whole->size());
        blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(at) + 1, std::move(rest));
    }
    blocks[at] = std::move(front);
    open = nullptr;
}

void History::unpack(std::size_t at)
{
    const Block& packed = *blocks[at];
    auto block = std::make_shared<Block>(packed.firstChannel(), packed.width());
    std::vector<double> row(place(packed.width()));
    for (int i = 0; i < packed.size(); ++i) {
        for (int k = 0; k < packed.width(); ++k) {
            row[place(k)] = packed.value(packed.firstChannel() + k, i);
        }
        block->insert(i, packed.keys()[place(i)], row.data());
    }
    open = block.get();
    openAt = at;
    blocks[at] = std::move(block);
}

void History::startBlock(std::size_t at, int firstChannel, int width)
{
    auto block = std::make_shared<Block>(firstChannel, width);
    blocks.insert(blocks.begin() + static_cast<std::ptrdiff_t>(at), block);
    open = block.get();
    openAt = at;
}

std::size_t History::blockAt(double key) const
{
    const auto found = std::partition_point(blocks.begin(), blocks.end(), [key](const auto& block) {
        return block->keys().back() < key;
    });
    return static_cast<std::size_t>(found - blocks.begin());
}

const std::vector<int>& History::startsOf(int channel) const
{
    std::vector<int>& list = starts[channel];
    if (list.size() != blocks.size()) {
        list.clear();
        int points = 0;
        for (const auto& block : blocks) {
            list.push_back(points);
            points += block->holds(channel) ? block->size() : 0;
        }
    }
    return list;
}

Point History::point(int channel, int index) const
{
    if (index < 0 || index >= count(channel)) {
        return {};
    }
    const std::vector<int>& list = startsOf(channel);
    const auto start = std::upper_bound(list.begin(), list.end(), index) - 1;
    const Block& block = *blocks[static_cast<std::size_t>(start - list.begin())];
    return block.point(channel, index - *start);
}

int History::lowerBound(int channel, double key) const
{
    const std::size_t at = blockAt(key);
    if (at == blocks.size()) {
        return count(channel);
    }
    return startsOf(channel)[at] + (blocks[at]->holds(channel) ? blocks[at]->lowerBound(key) : 0);
}

} // namespace chart
