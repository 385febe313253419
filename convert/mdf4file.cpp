// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/container.h"
#include "convert/mdf4blocks.h"

#include <algorithm>
#include <deque>

namespace convert {

namespace {

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
        groups.push_back({info, rowSize, gapBytes, blockRows * rowSize, {}, 0});
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
        , blocks(file)
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
            blocks.putEvent(*tag);
        }
        blocks.putHeader(origin);
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
