// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/history.h"

#include <QtAlgorithms>
#include <QtEndian>
#include <algorithm>
#include <array>
#include <cstring>

namespace chart {

Block::Block(int channels, bool isOfIntegers)
    : width(channels)
    , isWhole(isOfIntegers)
{
    // At once: no record of a session waits for others to be moved.
    keys.reserve(OpenSize);
    order.reserve(OpenSize);
    rows.reserve(place(PackedSize * width));
}

Block::Block(const Block& open, int first, int end)
    : width(open.width)
    , isWhole(open.isWhole)
    , keys(open.keys.begin() + first, open.keys.begin() + end)
{
    columns.reserve(place(width));
    bytes.reserve(place(width * size() * (isWhole ? 2 : 8)));
    // Some channels at a time, so that rows and columns stay in the nearest cache.
    constexpr int tileWidth = 8;
    std::array<std::array<double, PackedSize>, tileWidth> tile;
    for (int channel = 0; channel < width; channel += tileWidth) {
        const std::size_t channels = place(qMin(tileWidth, width - channel));
        for (int i = first; i < end; ++i) {
            const double* row = &open.rows[open.order[place(i)] * place(width) + place(channel)];
            for (std::size_t k = 0; k < channels; ++k) {
                tile[k][place(i - first)] = row[k];
            }
        }
        for (std::size_t k = 0; k < channels; ++k) {
            pack(tile[k].data());
        }
    }
    bytes.resize(bytes.size() + sizeof(quint64)); // a value is read with the seven bytes behind it
    bytes.shrink_to_fit();
}

void Block::pack(const double* values)
{
    Column column{values[0], values[0], static_cast<quint32>(bytes.size()), 64};
    if (isWhole) {
        for (int i = 1; i < size(); ++i) {
            column.lowest = values[i] < column.lowest ? values[i] : column.lowest;
            column.highest = values[i] > column.highest ? values[i] : column.highest;
        }
        const auto spread = static_cast<quint32>(qint64(column.highest - column.lowest));
        column.bits = 32 - static_cast<int>(qCountLeadingZeroBits(spread));
    } else {
        Span span;
        std::for_each(values, values + size(), [&span](double value) { span.include(value); });
        column.lowest = span.lowest;
        column.highest = span.highest;
    }
    columns.push_back(column);
    bytes.resize(bytes.size() + place((size() * column.bits + 31) / 32 * 4));
    uchar* to = bytes.data() + column.start;
    if (!isWhole) {
        std::memcpy(to, values, keys.size() * sizeof(double));
        return;
    }
    quint64 word = 0;
    int used = 0;
    for (int i = 0; i < size() && column.bits > 0; ++i) {
        word |= static_cast<quint64>(qint64(values[i] - column.lowest)) << used;
        used += column.bits;
        if (used >= 32) {
            qToLittleEndian(static_cast<quint32>(word), to);
            to += 4;
            word >>= 32;
            used -= 32;
        }
    }
    if (used > 0) {
        qToLittleEndian(static_cast<quint32>(word), to);
    }
}

inline quint64 Block::bitsAt(const Column& column, int index) const
{
    const int at = index * column.bits;
    const auto word = qFromLittleEndian<quint64>(&bytes[column.start + place(at / 8)]);
    return word >> (at % 8) & ((quint64{1} << column.bits) - 1);
}

double Block::value(int channel, int index) const
{
    if (columns.empty()) {
        return rows[order[place(index)] * place(width) + place(channel)];
    }
    const Column& column = columns[place(channel)];
    if (isWhole) {
        return column.lowest + static_cast<double>(bitsAt(column, index));
    }
    double value = 0;
    std::memcpy(&value, &bytes[column.start + place(index) * sizeof value], sizeof value);
    return value;
}

Span Block::extent(int channel, int first, int end) const
{
    Span span;
    if (columns.empty() || (!isWhole && end - first < size())) {
        for (int i = first; i < end; ++i) {
            span.include(value(channel, i));
        }
        return span;
    }
    const Column& column = columns[place(channel)];
    if (end - first == size()) {
        return {column.lowest, column.highest};
    }
    quint64 least = bitsAt(column, first);
    quint64 most = least;
    for (int i = first + 1; i < end; ++i) {
        const quint64 bits = bitsAt(column, i);
        least = bits < least ? bits : least;
        most = bits > most ? bits : most;
    }
    return {column.lowest + static_cast<double>(least), column.lowest + static_cast<double>(most)};
}

int Block::lowerBound(double key) const
{
    return static_cast<int>(std::lower_bound(keys.begin(), keys.end(), key) - keys.begin());
}

void Block::insert(int index, double key, const double* values)
{
    rows.insert(rows.end(), values, values + width);
    order.insert(order.begin() + index, static_cast<quint16>(keys.size()));
    keys.insert(keys.begin() + index, key);
}

Span History::add(double key, const double* values, int width)
{
    ordered = ordered && !std::isnan(key);
    if (counts.size() < static_cast<std::size_t>(width)) {
        counts.resize(static_cast<std::size_t>(width));
    }
    const int index = makeRoom(key, width);
    if (open->isShared) {
        auto copy = std::make_shared<Block>(*open);
        copy->isShared = false;
        open = copy.get();
        list[openAt] = std::move(copy);
    }
    open->insert(index, key, values);
    std::for_each(counts.begin(), counts.begin() + width, [](int& count) { ++count; });
    if (!ordered) {
        return {-Infinite, Infinite};
    }
    Span changed{key, key};
    if (index > 0 || openAt > 0) {
        changed.lowest = index > 0 ? open->key(index - 1) : list[openAt - 1]->lastKey();
    }
    if (index + 1 < open->size() || openAt + 1 < list.size()) {
        changed.highest =
            index + 1 < open->size() ? open->key(index + 1) : list[openAt + 1]->key(0);
    }
    return changed;
}

// Gives the index of the new point in the open block.
int History::makeRoom(double key, int width)
{
    const auto isOpen = [&](std::size_t at, int size) {
        return open && openAt == at && open->width == width && open->size() < size;
    };
    if (list.empty() || !(key < list.back()->lastKey())) {
        if (!isOpen(list.size() - 1, Block::PackedSize)) {
            startBlock(list.size(), width);
        }
        return open->size();
    }
    ++revision;
    for (;;) {
        const auto found = std::partition_point(
            list.begin(), list.end(), [key](const auto& block) { return block->lastKey() < key; });
        const auto at = static_cast<std::size_t>(found - list.begin());
        const int index = (*found)->lowerBound(key);
        if (isOpen(at, Block::OpenSize)) {
            return index;
        }
        if (index == 0 && at > 0 && isOpen(at - 1, Block::OpenSize)) {
            return open->size();
        }
        if (open) {
            packOpen(open->size());
        } else if (index == 0) {
            startBlock(at, width);
            return 0;
        } else {
            const Block& packed = **found;
            auto unpacked = std::make_shared<Block>(packed.width, whole);
            std::vector<double> row(static_cast<std::size_t>(packed.width));
            for (int i = 0; i < packed.size(); ++i) {
                for (std::size_t channel = 0; channel < row.size(); ++channel) {
                    row[channel] = packed.value(static_cast<int>(channel), i);
                }
                unpacked->insert(i, packed.key(i), row.data());
            }
            open = unpacked.get();
            openAt = at;
            list[at] = std::move(unpacked);
            if (open->width != width) {
                packOpen(index);
            }
        }
    }
}

void History::startBlock(std::size_t at, int width)
{
    if (open) {
        const std::size_t behind = list.size() - at;
        packOpen(open->size());
        at = list.size() - behind;
    }
    auto block = std::make_shared<Block>(width, whole);
    Block* const started = block.get();
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(at), std::move(block));
    open = started;
    openAt = at;
}

// Cuts the open block in two at `cut`, and each part into pieces of equal size.
void History::packOpen(int cut)
{
    BlockList packed;
    for (int first = 0, end = cut; first < open->size(); first = end, end = open->size()) {
        const int pieces = (end - first + Block::PackedSize - 1) / Block::PackedSize;
        for (int piece = 0; piece < pieces; ++piece) {
            packed.push_back(std::make_shared<Block>(
                *open, first + (end - first) * piece / pieces,
                first + (end - first) * (piece + 1) / pieces));
        }
    }
    const auto place = list.begin() + static_cast<std::ptrdiff_t>(openAt);
    list.insert(place + 1, packed.begin() + 1, packed.end());
    list[openAt] = packed.front();
    open = nullptr;
    ++revision;
}

int History::count(int channel) const
{
    const auto place = static_cast<std::size_t>(channel);
    return place < counts.size() ? counts[place] : 0;
}

std::pair<double, double> History::point(int channel, int index) const
{
    if (cursor.channel != channel || cursor.revision != revision || index < cursor.first) {
        cursor = {channel, revision, 0, 0};
    }
    for (;; ++cursor.block) {
        const Block& block = *list[cursor.block];
        const int size = channel < block.width ? block.size() : 0;
        if (index < cursor.first + size) {
            return {block.key(index - cursor.first), block.value(channel, index - cursor.first)};
        }
        cursor.first += size;
    }
}

int History::lowerBound(int channel, double key) const
{
    int index = 0;
    for (const auto& block : list) {
        if (channel < block->width) {
            const int before = block->lowerBound(key);
            index += before;
            if (before < block->size()) {
                break;
            }
        }
    }
    return index;
}

Series History::series(int channel) const
{
    return {{std::shared_ptr<void>(), &list}, channel, ordered};
}

Series History::snapshot(int channel) const
{
    if (open) {
        open->isShared = true;
    }
    return {std::make_shared<const BlockList>(list), channel, ordered};
}

} // namespace chart
