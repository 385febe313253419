// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstring>
#include <ctime>
#include <functional>
#include <future>
#include <libdeflate.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace convert {

// Files that hold many tables with columns of numbers, each on the recording's clock. Both kinds,
// MDF4 and HDF5, keep the bytes of their numbers apart, all first bytes, all second bytes and so
// on, and pack them with zlib, so that most of the work is the same.

// A column of a table.
struct Field
{
    enum Type { Real, Signed, Unsigned, Bytes };

    Field(Type itsType, std::size_t bytes, std::string itsName, std::string itsUnit = "")
        : type(itsType)
        , size(bytes)
        , name(std::move(itsName))
        , unit(std::move(itsUnit))
    {}

    Type type;
    std::size_t size; // bytes
    std::string name;
    std::string unit;
    int channel = -1;                                  // its number in a log, from 0
    bool mayLack = false;                              // rows may have no value of it
    std::vector<std::pair<double, std::string>> texts; // of values

    std::size_t offset = 0; // in a row
    int gapBit = -1;        // among the bits of a row
};

struct TableInfo
{
    enum Content { Channels, Frames, Signals, Tags };
    Content content = Channels;
    std::string name;          // of the group; "" for the channels of a log
    std::string source;        // what measured it
    std::vector<Field> fields; // behind the time
    double slack = 0.0;        // s that the clock may go back without having been restarted
};

// Packs rows in a thread of its own, one block after the other.
class Packer
{
public:
    using Bytes = std::vector<unsigned char>;

    // Has `take` called with the transposed rows. Throws what the call before has thrown.
    using Take = std::function<void(const Bytes& planes)>;
    void pack(const Bytes& rows, std::size_t rowSize, std::size_t count, Take take);

    // Waits for the last call. Throws what it has thrown.
    void wait();

    // For within such a call: a zlib stream, valid until the next one.
    std::string_view deflated(const unsigned char* bytes, std::size_t size);

private:
    struct Free
    {
        void operator()(libdeflate_compressor* it) const { libdeflate_free_compressor(it); }
    };
    static constexpr int Level = 1; // higher ones take twice the time for a tenth of the size

    std::unique_ptr<libdeflate_compressor, Free> compressor{libdeflate_alloc_compressor(Level)};
    Bytes next;
    Bytes inWork;
    std::string packed;
    std::future<void> task; // the last member: waits when it is destroyed
};

// A table that is being written. A row is a time, then the fields, then for MDF4 the bits of those
// that have no value.
class Table
{
public:
    Table(TableInfo tableInfo, Packer& rowPacker, bool hasGapBits, std::size_t blockSize);
    virtual ~Table() = default;

    void begin(double seconds);                     // a row without values
    void put(std::size_t field, std::int64_t value) // inline: of an hour there are 100 million
    {
        if (info.fields[field].type == Field::Real) {
            put(field, static_cast<double>(value));
        } else if (info.fields[field].size == sizeof(std::int32_t)) {
            std::memcpy(place(field), &value, sizeof(std::int32_t));
        } else {
            std::memcpy(place(field), &value, info.fields[field].size);
        }
    }
    void put(std::size_t field, double value);
    void put(std::size_t field, const void* bytes, std::size_t size);
    void end();

    void flush(); // what waits for a whole block

protected:
    // In the packer's thread: the planes of so many rows.
    virtual void write(const unsigned char* planes, std::size_t count) = 0;
    virtual void restart() = 0; // what follows has a time of its own

    TableInfo info;
    Packer& packer;
    std::size_t rowSize = sizeof(double);
    std::size_t gapBytes = 0; // at the end of a row
    std::size_t blockRows = 0;
    bool hasWholeBlocks = false; // the last one, too

private:
    // Where the value of a field belongs, which then has one.
    unsigned char* place(std::size_t field)
    {
        unsigned char* const row = rows.data() + waiting * rowSize;
        const Field& it = info.fields[field];
        if (it.gapBit >= 0) {
            unsigned char* const byte = row + rowSize - gapBytes + it.gapBit / 8;
            *byte = static_cast<unsigned char>(*byte & ~(1U << it.gapBit % 8));
        }
        return row + it.offset;
    }

    std::string emptyRow;
    Packer::Bytes rows;
    std::size_t waiting = 0; // rows
    std::optional<double> last;
};

// What a container says of itself.
struct Origin
{
    std::string inputs;               // their names
    std::string serial;               // of the controller, or empty
    std::optional<std::time_t> start; // of the first recording
    double clock = 0.0;               // s at which the recording starts
};

struct Tag
{
    double seconds;
    std::string text;
};

// A call of a library that went wrong without a reason that would help a user.
struct ContainerFailure
{};

class Container
{
public:
    virtual ~Container() = default;

    virtual Table& addTable(TableInfo info) = 0;
    virtual void addTags(const std::vector<Tag>& tags) = 0;
    virtual void commit() = 0;
};

// "2026-11-15T05:30:00", local time.
std::string shownTime(std::time_t time);

// `blockSize` bytes of each table wait to be packed. These throw ConversionError, also later.
std::unique_ptr<Container> makeMdf4(
    const std::string& path, bool replaces, const Origin& origin, std::size_t blockSize);
std::unique_ptr<Container> makeHdf5(
    const std::string& path, bool replaces, const Origin& origin, std::size_t blockSize);

} // namespace convert
