// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/container.h"

#include <algorithm>
#include <limits>

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "Rows are written as they stand in memory, which has to be little-endian."
#endif

namespace convert {

namespace {

// Byte j of row i goes to place j * count + i, by pieces that the cache holds.
void transpose(
    const unsigned char* rows, std::size_t rowSize, std::size_t count, unsigned char* out)
{
    constexpr std::size_t piece = 64; // rows
    for (std::size_t first = 0; first < count; first += piece) {
        const std::size_t end = std::min(first + piece, count);
        for (std::size_t j = 0; j < rowSize; ++j) {
            for (std::size_t i = first; i < end; ++i) {
                out[j * count + i] = rows[i * rowSize + j];
            }
        }
    }
}

} // namespace

std::string shownTime(std::time_t time)
{
    std::tm local = {};
    char text[32];
    const std::size_t size =
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", localtime_r(&time, &local));
    return {text, size};
}

void Packer::pack(const Bytes& rows, std::size_t rowSize, std::size_t count, Take take)
{
    // Here, which shares the work about evenly with the thread that packs.
    next.resize(rowSize * count);
    transpose(rows.data(), rowSize, count, next.data());
    wait();
    next.swap(inWork);
    task = std::async(std::launch::async, [this, take = std::move(take)] { take(inWork); });
}

void Packer::wait()
{
    if (task.valid()) {
        task.get();
    }
}

std::string_view Packer::deflated(const unsigned char* bytes, std::size_t size)
{
    packed.resize(libdeflate_zlib_compress_bound(compressor.get(), size));
    const std::size_t length =
        libdeflate_zlib_compress(compressor.get(), bytes, size, packed.data(), packed.size());
    return {packed.data(), length};
}

Table::Table(TableInfo tableInfo, Packer& rowPacker, bool hasGapBits, std::size_t blockSize)
    : info(std::move(tableInfo))
    , packer(rowPacker)
{
    int gaps = 0;
    for (Field& field : info.fields) {
        if (field.mayLack && !hasGapBits) {
            field.type = Field::Real;
            field.size = sizeof(double);
        }
        field.offset = rowSize;
        rowSize += field.size;
        field.gapBit = field.mayLack && hasGapBits ? gaps++ : -1;
    }
    gapBytes = static_cast<std::size_t>(gaps + 7) / 8;
    rowSize += gapBytes;
    emptyRow.resize(rowSize);
    for (const Field& field : info.fields) {
        if (field.mayLack && !hasGapBits) {
            const double none = std::numeric_limits<double>::quiet_NaN();
            std::memcpy(emptyRow.data() + field.offset, &none, sizeof none);
        }
    }
    std::fill(emptyRow.end() - static_cast<std::ptrdiff_t>(gapBytes), emptyRow.end(), '\xff');
    blockRows = std::max<std::size_t>(blockSize / rowSize, 1);
}

void Table::begin(double seconds)
{
    if (last && seconds < *last - info.slack) {
        flush();
        packer.wait();
        restart();
    }
    last = seconds;
    rows.resize(blockRows * rowSize);
    unsigned char* const row = rows.data() + waiting * rowSize;
    std::memcpy(row, emptyRow.data(), rowSize);
    std::memcpy(row, &seconds, sizeof seconds);
}

void Table::put(std::size_t field, double value)
{
    std::memcpy(place(field), &value, sizeof value);
}

void Table::put(std::size_t field, const void* bytes, std::size_t size)
{
    std::memcpy(place(field), bytes, std::min(size, info.fields[field].size));
}

void Table::end()
{
    if (++waiting == blockRows) {
        flush();
    }
}

void Table::flush()
{
    if (waiting > 0) {
        const std::size_t written = std::exchange(waiting, 0);
        packer.pack(
            rows, rowSize, hasWholeBlocks ? blockRows : written,
            [this, written](const Packer::Bytes& planes) { write(planes.data(), written); });
    }
}

} // namespace convert
