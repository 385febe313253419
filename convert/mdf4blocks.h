// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/container.h"
#include "convert/partfile.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace convert {

// The rows of a table between two restarts of its clock.
struct Mdf4Group
{
    const TableInfo& info;
    std::size_t rowSize = 0; // bytes, with those of gaps at its end
    std::size_t gapBytes = 0;
    std::size_t blockLength = 0;       // bytes of each block, but for the last one, unpacked
    std::vector<std::uint64_t> blocks; // by putData()
    std::uint64_t rows = 0;
};

// The blocks of an ASAM MDF 4.10 file, whose layout is that of the standard "ASAM MDF 4.1": sorted
// and finalised, one channel group a data group, data in transposed DZ blocks. Data comes first, as
// it fills up; what describes it follows, each block behind those it links to, and last the header
// at the file's beginning.
class Mdf4Blocks
{
public:
    explicit Mdf4Blocks(PartFile& output);

    // A zlib stream of so many bytes, transposed by rows of such a size. Returns its place.
    std::uint64_t putData(std::string_view packed, std::size_t size, std::size_t rowSize);

    // To be called from the last to the first group and event.
    void putGroup(const Mdf4Group& group);
    void putEvent(const Tag& tag);

    void putHeader(const Origin& origin); // behind all others

private:
    using Links = std::vector<std::uint64_t>; // places in the file; 0 is none

    std::uint64_t put(const char* id, const Links& links, std::string_view data);
    std::uint64_t putText(const std::string& text, const char* id = "TX");
    std::uint64_t putConversion(const Field& field);
    std::uint64_t putChannels(const Mdf4Group& group, std::uint64_t source);

    PartFile& file;
    std::uint64_t end = 0;
    std::uint64_t firstGroup = 0;
    std::uint64_t firstEvent = 0;
    std::map<std::string, std::uint64_t> texts;
};

} // namespace convert
