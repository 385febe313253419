// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/history.h"

#include <QtAlgorithms>
#include <QtEndian>
#include <array>
#include <cstring>

namespace chart {

namespace {

// Bytes of a channel in an open block. Not a power of two, or all channels would share a few lines
// of the processor's cache.
constexpr std::size_t OpenBytes = (Block::OpenSize + 8) * sizeof(double);

bool isInt32(double value)
{
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max() &&
           value == static_cast<int>(value) && !(value == 0 && std::signbit(value));
}

} // namespace

Block::Block(int firstChannel, int width)
    : first(firstChannel)
    , open(true)
    , channels(width)
    , bytes(channels.size() * OpenBytes)
{
    times.reserve(OpenSize);
    for (std::size_t i = 0; i < channels.size(); ++i) {
        channels[i].start = i * OpenBytes;
    }
}

Block::Block(const Block& other, int begin, int end)
    : first(other.first)
    , open(false)
    , times(other.times.begin() + begin, other.times.begin() + end)
{
    channels.reserve(other.channels.size());
    std::array<double, PackedSize> values;
    for (int channel = first; other.holds(channel); ++channel) {
        for (int i = begin; i < end; ++i) {
            values[i - begin] = other.value(channel, i);
        }
        pack(values.data());
    }
    bytes.resize(bytes.size() + sizeof(quint64)); // a value is read with the seven bytes behind it
    bytes.shrink_to_fit();
}

Block Block::opened(const Block& packed)
{
    Block block(packed.first, packed.width());
    block.times.assign(packed.times.begin(), packed.times.end());
    unsigned char* to = block.bytes.data();
    for (int channel = packed.first; packed.holds(channel); ++channel, to += OpenBytes) {
        for (int i = 0; i < packed.size(); ++i) {
            const double value = packed.value(channel, i);
            std::memcpy(to + i * sizeof value, &value, sizeof value);
        }
    }
    return block;
}

void Block::pack(const double* values)
{
    Values packed;
    packed.start = bytes.size();
    bool isWhole = true;
    for (int i = 0; i < size(); ++i) {
        packed.extent.include(values[i]);
        isWhole = isWhole && isInt32(values[i]);
    }
    if (isWhole) {
        const auto spread = static_cast<quint32>(packed.extent.highest - packed.extent.lowest);
        packed.bits = 32 - static_cast<int>(qCountLeadingZeroBits(spread));
    }
    channels.push_back(packed);
    bytes.resize(packed.start + (size() * packed.bits + 31) / 32 * sizeof(quint32));
    unsigned char* to = bytes.data() + packed.start;
    if (!isWhole) {
        std::memcpy(to, values, times.size() * sizeof(double));
        return;
    }
    quint64 word = 0;
    int used = 0;
    for (int i = 0; i < size() && packed.bits > 0; ++i) {
        word |= static_cast<quint64>(values[i] - packed.extent.lowest) << used;
        used += packed.bits;
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

quint64 Block::distance(const Values& values, int index) const
{
    const auto at = std::size_t(index) * std::size_t(values.bits);
    const auto bits = qFromLittleEndian<quint64>(&bytes[values.start + at / 8]);
    return bits >> at % 8 & ((quint64{1} << values.bits) - 1);
}

double Block::value(int channel, int index) const
{
    const Values& values = channels[(channel - first)];
    if (values.bits == 64) {
        double value = 0;
        std::memcpy(&value, &bytes[values.start + index * sizeof value], sizeof value);
        return value;
    }
    return values.extent.lowest + static_cast<double>(distance(values, index));
}

Span Block::extent(int channel, int begin, int end) const
{
    const Values& values = channels[(channel - first)];
    if (!values.extent.isEmpty() && end - begin == size()) {
        return values.extent;
    }
    Span extent;
    if (values.bits == 64) {
        for (int i = begin; i < end; ++i) {
            extent.include(value(channel, i));
        }
        return extent;
    }
    quint64 least = distance(values, begin);
    quint64 most = least;
    for (int i = begin + 1; i < end; ++i) {
        const quint64 next = distance(values, i);
        least = std::min(least, next);
        most = std::max(most, next);
    }
    const double lowest = values.extent.lowest;
    return {lowest + static_cast<double>(least), lowest + static_cast<double>(most)};
}

void Block::insert(int index, double key, const double* values)
{
    const std::size_t behind = (size() - index) * sizeof(double);
    for (const Values& channel : channels) {
        unsigned char* const to = &bytes[channel.start + index * sizeof(double)];
        std::memmove(to + sizeof(double), to, behind);
        std::memcpy(to, values++, sizeof(double));
    }
    times.insert(times.begin() + index, key);
}

History::History(const History& other)
    : blocks(other.blocks)
    , late(other.late)
    , channels(other.channels)
{
    for (const int at : {late, int(blocks.size()) - 1}) {
        if (at >= 0 && blocks[at]->isOpen()) {
            blocks[at] = std::make_shared<Block>(*blocks[at]);
        }
    }
}

Span History::add(double key, const double* values, int firstChannel, int width)
{
    if (std::isnan(key)) {
        return {};
    }
    const int end = firstChannel + width;
    channels.resize(std::max<std::size_t>(channels.size(), end));
    const auto [at, index] = makeRoom(key, firstChannel, width);
    blocks[at]->insert(index, key, values);
    for (int channel = firstChannel; channel < end; ++channel) {
        ++channels[channel].count;
        channels[channel].keys.unite({key, key});
    }
    // From the point before to the one behind. Where the next block is for other channels, a line
    // may come from far away.
    const double* const keys = blocks[at]->keys().data();
    const auto isAlike = [&](int other) { return blocks[other]->isFor(firstChannel, width); };
    Span changed{key, key};
    if (index > 0) {
        changed.lowest = keys[index - 1];
    } else if (at > 0) {
        changed.lowest = isAlike(at - 1) ? blocks[at - 1]->keys().back() : -Infinite;
    }
    if (index + 1 < blocks[at]->size()) {
        changed.highest = keys[index + 1];
    } else if (at + 1 < int(blocks.size())) {
        changed.highest = isAlike(at + 1) ? blocks[at + 1]->keys().front() : Infinite;
    }
    return changed;
}

// Gives the place of a new point, in an open block that has room for it.
History::Place History::makeRoom(double key, int firstChannel, int width)
{
    const auto isAlike = [&](int at) { return blocks[at]->isFor(firstChannel, width); };
    const auto takes = [&](int at) {
        return blocks[at]->isOpen() && isAlike(at) && blocks[at]->size() < Block::OpenSize;
    };

    // Mostly there is one already, in front of the place or around it.
    Place place = placeOf(key);
    if (place.index == 0 && place.block > 0 && takes(place.block - 1)) {
        return {place.block - 1, blocks[place.block - 1]->size()};
    }
    if (place.block < int(blocks.size()) && takes(place.block)) {
        return place;
    }

    // If not, one will be opened. The open block in whose stead it comes is packed, maybe in two.
    const int end = int(blocks.size());
    if (place.block + 1 >= end && end > 0) {
        pack(end - 1);
    }
    if (place.block < end && late >= 0) {
        pack(late);
        late = -1;
    }
    place = placeOf(key);

    // Around the place is a packed block, or none.
    if (place.index > 0 && isAlike(place.block)) {
        blocks[place.block] = std::make_shared<Block>(Block::opened(*blocks[place.block]));
    } else {
        if (place.index > 0) {
            split(place.block, place.index);
            place = {place.block + 1, 0};
        }
        auto block = std::make_shared<Block>(firstChannel, width);
        blocks.insert(blocks.begin() + place.block, std::move(block));
    }
    if (place.block + 1 < int(blocks.size())) {
        late = place.block;
    }
    return place;
}

// Cuts a block into packed ones: the points before an index, and the rest if there is any.
void History::split(int at, int index)
{
    const std::shared_ptr<Block> whole = blocks[at];
    auto front = std::make_shared<Block>(*whole, 0, index);
    if (index < whole->size()) {
        auto rest = std::make_shared<Block>(*whole, index, whole->size());
        blocks.insert(blocks.begin() + at + 1, std::move(rest));
    }
    blocks[at] = std::move(front);
}

void History::pack(int at)
{
    if (blocks[at]->isOpen()) {
        split(at, std::min(blocks[at]->size(), Block::PackedSize));
    }
}

int History::blockAt(double key) const
{
    const auto found = std::partition_point(blocks.begin(), blocks.end(), [key](const auto& block) {
        return block->keys().back() < key;
    });
    return int(found - blocks.begin());
}

History::Place History::placeOf(double key) const
{
    if (blocks.empty() || !(key < blocks.back()->keys().back())) {
        return {int(blocks.size()), 0};
    }
    const int at = blockAt(key);
    return {at, blocks[at]->lowerBound(key)};
}

Point History::point(int channel, int index) const
{
    for (const auto& block : blocks) {
        const int size = block->holds(channel) ? block->size() : 0;
        if (index >= 0 && index < size) {
            return block->point(channel, index);
        }
        index -= size;
    }
    return {};
}

} // namespace chart
