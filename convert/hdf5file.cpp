// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/container.h"
#include "convert/partfile.h"
#include "convert/report.h"

#include <QByteArray>
#include <algorithm>
#include <cstddef>
#include <deque>
#include <hdf5.h>
#include <set>

#ifndef H5_HAVE_THREADSAFE
#error "Files are written by several threads, which this build of the library does not allow."
#endif

namespace convert {

namespace {

void check(hid_t result)
{
    if (result < 0) {
        throw ContainerFailure();
    }
}

// An object of the library, closed at the end; all functions that make one take and give these.
// Their failures have no reason that would help a user.
class Handle
{
public:
    Handle(hid_t handle)
        : id(handle)
    {
        check(id);
    }
    Handle(Handle&& other) noexcept
        : id(std::exchange(other.id, H5I_INVALID_HID))
    {}
    ~Handle()
    {
        if (id >= 0) {
            H5Idec_ref(id);
        }
    }
    Handle& operator=(Handle&& other) = delete;

    operator hid_t() const { return id; }

    // For closing it ahead of the destructor, which cannot throw what goes wrong.
    hid_t release() { return std::exchange(id, H5I_INVALID_HID); }

private:
    hid_t id;
};

Handle createFile(const std::string& path)
{
    H5dont_atexit();                             // files that failed would be written once more
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr); // no messages of this thread's calls
    return H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
}

Handle textType()
{
    Handle type = H5Tcopy(H5T_C_S1);
    check(H5Tset_size(type, H5T_VARIABLE));
    check(H5Tset_cset(type, H5T_CSET_UTF8));
    return type;
}

Handle typeOf(const Field& field)
{
    if (field.type == Field::Bytes) {
        const hsize_t size = field.size;
        return H5Tarray_create2(H5T_STD_U8LE, 1, &size);
    }
    Handle type = H5Tcopy(
        field.type == Field::Real     ? H5T_IEEE_F64LE
        : field.type == Field::Signed ? H5T_STD_I64LE
                                      : H5T_STD_U64LE);
    check(H5Tset_size(type, field.size));
    return type;
}

void setAttribute(hid_t object, const char* name, hid_t type, const void* value)
{
    const Handle space = H5Screate(H5S_SCALAR);
    const Handle attribute = H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
    check(H5Awrite(attribute, type, value));
}

void setAttribute(hid_t object, const char* name, const std::string& value)
{
    const char* const text = value.c_str();
    if (!value.empty()) {
        setAttribute(object, name, textType(), &text);
    }
}

// A dataset of one dimension. Groups on its path are made where they are missing.
Handle addDataset(hid_t file, const std::string& path, hid_t type, hsize_t size, hsize_t chunk)
{
    const hsize_t most = H5S_UNLIMITED;
    const Handle space = H5Screate_simple(1, &size, &most);
    const Handle creation = H5Pcreate(H5P_DATASET_CREATE);
    check(H5Pset_chunk(creation, 1, &chunk));
    check(H5Pset_shuffle(creation));
    check(H5Pset_deflate(creation, 1)); // ours is packed by Packer
    const Handle access = H5Pcreate(H5P_DATASET_ACCESS);
    check(H5Pset_chunk_cache(access, 1, 0, 1.0)); // which would cost a MiB a dataset
    const Handle links = H5Pcreate(H5P_LINK_CREATE);
    check(H5Pset_char_encoding(links, H5T_CSET_UTF8));
    check(H5Pset_create_intermediate_group(links, 1));
    return H5Dcreate2(file, path.c_str(), type, space, links, creation, access);
}

struct TagRow
{
    double seconds;
    const char* text;
};

class Hdf5Table : public Table
{
public:
    Hdf5Table(
        TableInfo itsInfo, Packer& itsPacker, std::size_t blockSize, hid_t fileId,
        std::set<std::string>& pathsOfFile)
        : Table(std::move(itsInfo), itsPacker, false, blockSize)
        , file(fileId)
        , paths(pathsOfFile)
    {
        hasWholeBlocks = true;
        restart();
    }

private:
    void restart() final
    {
        const bool isSignals = info.content == TableInfo::Signals;
        const bool isLog = info.content == TableInfo::Channels;
        const std::string group = isSignals ? "/signals/"
                                  : isLog   ? "/channels/"
                                            : '/' + info.name + '/';
        std::string part; // what has one clock
        std::string timePath;
        do {
            part = ++parts == 1 ? "" : "/part " + std::to_string(parts);
            timePath = part + (isLog ? "/time_s" : group + "time_s");
        } while (!isSignals && !paths.insert(timePath).second);
        datasets.clear();
        rows = 0;
        const Field time(Field::Real, sizeof(double), "time_s", "s");
        if (!isSignals) {
            addColumn(timePath, time);
        }
        for (const Field& field : info.fields) {
            const std::string path = newPath(part + group, field.name);
            if (!isSignals) {
                addColumn(path, field);
            } else if (datasets.empty()) {
                timePath = path + "/time_s";
                addColumn(timePath, time);
                addColumn(path + "/value", field);
            } else { // of the same frame
                addColumn(path + "/value", field);
                check(H5Lcreate_hard(
                    file, timePath.c_str(), file, (path + "/time_s").c_str(), H5P_DEFAULT,
                    H5P_DEFAULT));
            }
        }
    }

    // A "/" in a name would be a group.
    std::string newPath(const std::string& group, std::string name)
    {
        std::replace(name.begin(), name.end(), '/', '|');
        const std::string mark = " (column " + std::to_string(datasets.size()) + ')';
        while (name == "." || !paths.insert(group + name).second) {
            name += mark;
        }
        return group + name;
    }

    void addColumn(const std::string& path, const Field& field)
    {
        Handle dataset = addDataset(file, path, typeOf(field), 0, blockRows);
        setAttribute(dataset, "name", field.name);
        setAttribute(dataset, "unit", field.unit);
        if (field.channel >= 0) {
            setAttribute(dataset, "channel", H5T_NATIVE_INT, &field.channel);
        }
        std::string texts;
        for (const auto& [value, text] : field.texts) {
            texts += QByteArray::number(value, 'g', 15).toStdString() + '=' + text + '\n';
        }
        setAttribute(dataset, "texts", texts);
        datasets.push_back(std::move(dataset));
    }

    void write(const unsigned char* planes, std::size_t count) override
    {
        const hsize_t begin = rows;
        rows += count;
        for (std::size_t i = 0; i < datasets.size(); ++i) {
            const std::size_t offset = i == 0 ? 0 : info.fields[i - 1].offset;
            const std::size_t size = i == 0 ? sizeof(double) : info.fields[i - 1].size;
            const auto chunk = packer.deflated(planes + offset * blockRows, size * blockRows);
            check(H5Dset_extent(datasets[i], &rows));
            check(H5Dwrite_chunk(datasets[i], H5P_DEFAULT, 0, &begin, chunk.size(), chunk.data()));
        }
    }

    const hid_t file;
    std::set<std::string>& paths;
    std::vector<Handle> datasets; // the time, then the fields
    hsize_t rows = 0;
    int parts = 0;
};

class Hdf5File : public Container
{
public:
    Hdf5File(const std::string& path, bool replaces, const Origin& origin, std::size_t size)
        : blockSize(size)
        , part(path, replaces)
        , file(createFile(part.writtenPath()))
    {
        const Handle root = H5Gopen2(file, "/", H5P_DEFAULT);
        setAttribute(root, "source", origin.inputs);
        setAttribute(root, "version", "xcu-convert " XCU_VERSION);
        setAttribute(root, "serial", origin.serial);
        setAttribute(root, "date", origin.start ? shownTime(*origin.start) : "");
    }

    Table& addTable(TableInfo info) override
    {
        return tables.emplace_back(std::move(info), packer, blockSize, file, paths);
    }

    void addTags(const std::vector<Tag>& tags) override
    {
        std::vector<TagRow> rowsOfTags;
        rowsOfTags.reserve(tags.size());
        for (const Tag& tag : tags) {
            rowsOfTags.push_back({tag.seconds, tag.text.c_str()});
        }
        const Handle type = H5Tcreate(H5T_COMPOUND, sizeof(TagRow));
        check(H5Tinsert(type, "time_s", offsetof(TagRow, seconds), H5T_NATIVE_DOUBLE));
        check(H5Tinsert(type, "text", offsetof(TagRow, text), textType()));
        const Handle dataset =
            addDataset(file, "/tags", type, tags.size(), std::max<hsize_t>(tags.size(), 1));
        if (!tags.empty()) {
            check(H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, rowsOfTags.data()));
        }
    }

    void commit() override
    {
        for (Hdf5Table& table : tables) {
            table.flush();
        }
        packer.wait();
        tables.clear();
        check(H5Fflush(file, H5F_SCOPE_LOCAL));
        check(H5Idec_ref(file.release()));
        part.commit();
    }

private:
    const std::size_t blockSize;
    PartFile part;
    Handle file;
    std::set<std::string> paths;
    std::deque<Hdf5Table> tables;
    Packer packer;
};

} // namespace

std::unique_ptr<Container> makeHdf5(
    const std::string& path, bool replaces, const Origin& origin, std::size_t blockSize)
{
    return std::make_unique<Hdf5File>(path, replaces, origin, blockSize);
}

} // namespace convert
