// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/container.h"
#include "convert/partfile.h"
#include "formats/mdf4blocks.h"

#include <algorithm>
#include <cmath>
#include <deque>

namespace convert {

namespace {

using formats::Mdf4Blocks;
using formats::Mdf4Channel;
using formats::Mdf4Group;

constexpr double Nano = 1e9;

class Mdf4Table : public Table
{
public:
    Mdf4Table(TableInfo itsInfo, Packer& itsPacker, std::size_t blockSize, Mdf4Blocks& output)
        : Table(std::move(itsInfo), itsPacker, true, blockSize)
        , blocks(output)
    {
        restart();
    }

    std::deque<Mdf4Group> groups; // a stretch without a restart of the clock each

private:
    void restart() final
    {
        static constexpr Mdf4Channel::Type types[] = {// by Field::Type
                                                      Mdf4Channel::Real, Mdf4Channel::Signed,
                                                      Mdf4Channel::Unsigned, Mdf4Channel::Bytes};
        const bool isBus = info.content == TableInfo::Frames;
        const bool isTags = info.content == TableInfo::Tags;
        Mdf4Group& group = groups.emplace_back();
        group.name = info.name;
        group.source = info.source;
        group.sourceType = isBus ? Mdf4Group::Bus : isTags ? Mdf4Group::Tool : Mdf4Group::Ecu;
        group.isCan = isBus || info.content == TableInfo::Signals;
        group.isBusLogging = isBus;
        group.rowSize = rowSize;
        group.gapBytes = gapBytes;
        group.blockLength = blockRows * rowSize;
        for (const Field& field : info.fields) {
            group.channels.push_back(
                {isBus ? info.name + '.' + field.name : field.name, field.unit,
                 field.channel < 0 ? "" : "channel " + std::to_string(field.channel),
                 isTags ? Mdf4Channel::Text : types[field.type], field.offset, field.size,
                 field.gapBit, field.texts});
        }
    }

    void write(const unsigned char* planes, std::size_t count) override
    {
        const std::size_t size = count * rowSize;
        groups.back().blocks.push_back(
            blocks.putData(packer.deflated(planes, size), size, rowSize));
        groups.back().rows += count;
    }

    Mdf4Blocks& blocks;
};

class Mdf4File : public Container
{
public:
    Mdf4File(const std::string& path, bool replaces, const Origin& itsOrigin, std::size_t size)
        : origin(itsOrigin)
        , blockSize(size)
        , file(path, replaces)
        , blocks([this](std::string_view bytes) { file.write(bytes); })
    {}

    Table& addTable(TableInfo info) override
    {
        return tables.emplace_back(std::move(info), packer, blockSize, blocks);
    }

    void addTags(const std::vector<Tag>& all) override
    {
        std::size_t longest = 0;
        if (all.empty()) {
            return;
        }
        for (const Tag& tag : all) {
            longest = std::max(longest, tag.text.size());
        }
        const Field text(Field::Bytes, longest + 1, "tag");
        Table& table = addTable({TableInfo::Tags, "tags", "operator", {text}, 0.0});
        for (const Tag& tag : all) {
            table.begin(tag.seconds);
            table.put(0, tag.text.c_str(), tag.text.size());
            table.end();
        }
        tags = all;
    }

    void commit() override
    {
        for (Mdf4Table& table : tables) {
            table.flush();
        }
        packer.wait();
        for (auto table = tables.rbegin(); table != tables.rend(); ++table) {
            std::for_each(table->groups.rbegin(), table->groups.rend(), [this](const auto& group) {
                blocks.putGroup(group);
            });
        }
        for (auto tag = tags.rbegin(); tag != tags.rend(); ++tag) {
            blocks.putEvent(std::llround(tag->seconds * Nano), tag->text);
        }
        Mdf4Blocks::Header header{origin.inputs, {{"subject", origin.serial}}, XCU_VERSION};
        if (origin.start) {
            std::tm local = {};
            localtime_r(&*origin.start, &local);
            // Times are those of the controller's clock; the file begins where that stood at 0.
            header.start =
                *origin.start * static_cast<std::int64_t>(Nano) - std::llround(origin.clock * Nano);
            header.daylight = local.tm_isdst > 0 ? 60 : 0;
            header.zone = static_cast<int>(local.tm_gmtoff / 60) - header.daylight;
            header.properties.emplace_back("recording started", shownTime(*origin.start));
        }
        file.writeAt(Mdf4Blocks::HeaderPlace, blocks.header(header));
        file.commit();
    }

private:
    const Origin origin;
    const std::size_t blockSize;
    PartFile file;
    Mdf4Blocks blocks;
    std::vector<Tag> tags;
    std::deque<Mdf4Table> tables;
    Packer packer;
};

} // namespace

std::unique_ptr<Container> makeMdf4(
    const std::string& path, bool replaces, const Origin& origin, std::size_t blockSize)
{
    return std::make_unique<Mdf4File>(path, replaces, origin, blockSize);
}

} // namespace convert
