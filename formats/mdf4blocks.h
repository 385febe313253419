// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace formats {

// The blocks of an ASAM MDF 4.10 file, whose layout is that of the standard "ASAM MDF 4.1": sorted
// and finalised, one channel group a data group, data in transposed DZ blocks. Data comes first, as
// it fills up; what describes it follows, each block behind those it links to, and last the header
// at the file's beginning.

struct Mdf4Channel
{
    enum Type { Unsigned = 0, Signed = 2, Real = 4, Text = 7, Bytes = 10 };

    std::string name;
    std::string unit;
    std::string comment;
    Type type = Real;
    std::size_t offset = 0;                            // in a row; the first 8 bytes are the time
    std::size_t size = 8;                              // bytes
    int gapBit = -1;                                   // set where there is no value; -1 for none
    std::vector<std::pair<double, std::string>> texts; // of values
};

struct Mdf4Group
{
    enum Source { Ecu = 1, Bus = 2, Tool = 4 };

    std::string name;
    std::string source;
    Source sourceType = Ecu;
    bool isCan = false;
    bool isBusLogging = false; // its channels are members of one that is called like the group
    std::vector<Mdf4Channel> channels; // behind the time
    std::size_t rowSize = 0;           // bytes, with those of gaps at its end
    std::size_t gapBytes = 0;
    std::size_t blockLength = 0;       // bytes of each block, but for the last one, unpacked
    std::vector<std::uint64_t> blocks; // by putData()
    std::uint64_t rows = 0;
};

class Mdf4Blocks
{
public:
    // Takes the bytes of the file, each behind those before. The header, and what stands ahead of
    // it, comes at once.
    explicit Mdf4Blocks(std::function<void(std::string_view bytes)> take);

    // A zlib stream of so many bytes, transposed by rows of such a size. Returns its place.
    std::uint64_t putData(std::string_view packed, std::size_t size, std::size_t rowSize);

    // To be called from the last to the first group and event.
    void putGroup(const Mdf4Group& group);
    void putEvent(std::int64_t nanoseconds, const std::string& text);

    struct Header
    {
        std::string comment;
        std::vector<std::pair<const char*, std::string>> properties; // empty ones are left out
        std::string version;
        std::int64_t start = 0; // ns since 1970, UTC, at which times are 0
        int zone = 0;           // min east of Greenwich, without daylight saving
        int daylight = 0;       // min
    };

    // Behind all others. Returns what has to be written to HeaderPlace.
    std::string header(const Header& header);
    static constexpr std::int64_t HeaderPlace = 64;

private:
    using Links = std::vector<std::uint64_t>; // places in the file; 0 is none

    std::uint64_t put(const char* id, const Links& links, std::string_view data);
    std::uint64_t putText(const std::string& text, const char* id = "TX");
    std::uint64_t putConversion(const Mdf4Channel& channel);
    std::uint64_t putChannels(const Mdf4Group& group, std::uint64_t source);

    std::function<void(std::string_view)> write;
    std::uint64_t end = 0;
    std::uint64_t firstGroup = 0;
    std::uint64_t firstEvent = 0;
    std::map<std::string, std::uint64_t> texts;
};

} // namespace formats
