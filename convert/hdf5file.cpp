// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/hdf5file.h"

#include "convert/report.h"

#include <algorithm>
#include <cstddef>
#include <hdf5.h>
#include <limits>
#include <mutex>

namespace convert {

namespace {

constexpr hsize_t ChunkSize = 8192; // values
constexpr unsigned CompressionLevel = 3;

std::mutex libraryMutex;

void prepareLibrary()
{
    static const bool isPrepared = [] {
        H5dont_atexit(); // files that failed would be written once more
        H5open();
        H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
        return true;
    }();
    static_cast<void>(isPrepared);
}

struct TagRow
{
    double seconds;
    const char* text;
};

hid_t textType()
{
    const hid_t type = H5Tcopy(H5T_C_S1);
    H5Tset_size(type, H5T_VARIABLE);
    H5Tset_cset(type, H5T_CSET_UTF8);
    return type;
}

void setAttribute(hid_t object, const char* name, const std::string& value)
{
    const hid_t type = textType();
    const hid_t space = H5Screate(H5S_SCALAR);
    const hid_t attribute = H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
    const char* const text = value.c_str();
    H5Awrite(attribute, type, &text);
    H5Aclose(attribute);
    H5Sclose(space);
    H5Tclose(type);
}

// Empty and growing. Whole chunks go past the cache, which would cost a MiB a dataset.
hid_t createDataset(hid_t file, const std::string& name, hid_t type)
{
    const hsize_t none = 0;
    const hsize_t unlimited = H5S_UNLIMITED;
    const hid_t space = H5Screate_simple(1, &none, &unlimited);
    const hid_t creation = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_chunk(creation, 1, &ChunkSize);
    H5Pset_shuffle(creation);
    H5Pset_deflate(creation, CompressionLevel);
    const hid_t access = H5Pcreate(H5P_DATASET_ACCESS);
    H5Pset_chunk_cache(access, 1, 0, 1.0);
    const hid_t links = H5Pcreate(H5P_LINK_CREATE);
    H5Pset_char_encoding(links, H5T_CSET_UTF8);
    H5Pset_create_intermediate_group(links, 1);
    const hid_t dataset = H5Dcreate2(file, name.c_str(), type, space, links, creation, access);
    H5Pclose(links);
    H5Pclose(access);
    H5Pclose(creation);
    H5Sclose(space);
    return dataset;
}

bool extend(hid_t dataset, hid_t type, hsize_t written, hsize_t count, const void* values)
{
    const hsize_t size = written + count;
    if (H5Dset_extent(dataset, &size) < 0) {
        return false;
    }
    const hid_t place = H5Dget_space(dataset);
    H5Sselect_hyperslab(place, H5S_SELECT_SET, &written, nullptr, &count, nullptr);
    const hid_t memory = H5Screate_simple(1, &count, nullptr);
    const bool isWritten = H5Dwrite(dataset, type, memory, place, H5P_DEFAULT, values) >= 0;
    H5Sclose(memory);
    H5Sclose(place);
    return isWritten;
}

[[noreturn]] void fail(const std::string& path)
{
    throw Trouble(path + ": cannot write; is the disk full?");
}

} // namespace

Hdf5Column::Hdf5Column(std::int64_t datasetHandle, Type type, std::string filePath)
    : dataset(datasetHandle)
    , valueType(type)
    , path(std::move(filePath))
{
    if (dataset < 0) {
        fail(path);
    }
}

Hdf5Column::~Hdf5Column()
{
    const std::lock_guard lock(libraryMutex);
    H5Dclose(dataset);
}

double Hdf5Column::missing() const
{
    return valueType == Real ? std::numeric_limits<double>::quiet_NaN() : 0.0;
}

void Hdf5Column::append(double value)
{
    if (valueType == Whole) {
        whole.push_back(static_cast<std::int32_t>(value));
    } else {
        real.push_back(value);
    }
    if (whole.size() + real.size() == ChunkSize) {
        flush();
    }
}

void Hdf5Column::flush()
{
    const bool isWhole = valueType == Whole;
    const hsize_t count = isWhole ? whole.size() : real.size();
    if (count == 0) {
        return;
    }
    const std::lock_guard lock(libraryMutex);
    const void* const values = isWhole ? static_cast<const void*>(whole.data()) : real.data();
    const hid_t type = isWhole ? H5T_NATIVE_INT32 : H5T_NATIVE_DOUBLE;
    if (!extend(dataset, type, written, count, values)) {
        fail(path);
    }
    written += count;
    whole.clear();
    real.clear();
}

Hdf5Tags::Hdf5Tags(std::int64_t datasetHandle, std::int64_t rowType, std::string filePath)
    : dataset(datasetHandle)
    , type(rowType)
    , path(std::move(filePath))
{
    if (dataset < 0) {
        fail(path);
    }
}

Hdf5Tags::~Hdf5Tags()
{
    const std::lock_guard lock(libraryMutex);
    H5Dclose(dataset);
    H5Tclose(type);
}

void Hdf5Tags::append(double seconds, std::string_view text)
{
    const std::string copy(text);
    const TagRow row{seconds, copy.c_str()};
    const std::lock_guard lock(libraryMutex);
    if (!extend(dataset, type, written, 1, &row)) {
        fail(path);
    }
    ++written;
}

Hdf5File::Hdf5File(const std::string& path, bool replaces)
    : file(path, replaces)
{
    if (path == "-") {
        throw Trouble("standard output: cannot be an HDF5 file");
    }
    const std::lock_guard lock(libraryMutex);
    prepareLibrary();
    handle = H5Fcreate(file.writtenPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    if (handle < 0) {
        fail(path);
    }
}

Hdf5File::~Hdf5File()
{
    const std::lock_guard lock(libraryMutex);
    if (handle >= 0) {
        H5Fclose(handle);
    }
}

std::unique_ptr<Hdf5Column> Hdf5File::addColumn(
    const std::string& group, const std::string& name, Hdf5Column::Type type,
    const std::string& unit)
{
    const std::lock_guard lock(libraryMutex);
    std::string last = name;
    std::replace(last.begin(), last.end(), '/', '|');
    const std::string place = group + (group == "/" ? "" : "/") + last;
    const hid_t dataset =
        createDataset(handle, place, type == Hdf5Column::Whole ? H5T_STD_I32LE : H5T_IEEE_F64LE);
    if (dataset >= 0) {
        setAttribute(dataset, "name", name);
        if (!unit.empty()) {
            setAttribute(dataset, "unit", unit);
        }
    }
    return std::make_unique<Hdf5Column>(dataset, type, file.path());
}

std::unique_ptr<Hdf5Tags> Hdf5File::addTags()
{
    const std::lock_guard lock(libraryMutex);
    const hid_t text = textType();
    const hid_t row = H5Tcreate(H5T_COMPOUND, sizeof(TagRow));
    H5Tinsert(row, "time_s", offsetof(TagRow, seconds), H5T_NATIVE_DOUBLE);
    H5Tinsert(row, "text", offsetof(TagRow, text), text);
    H5Tclose(text);
    return std::make_unique<Hdf5Tags>(createDataset(handle, "/tags", row), row, file.path());
}

void Hdf5File::commit()
{
    {
        const std::lock_guard lock(libraryMutex);
        const bool isWritten = H5Fflush(handle, H5F_SCOPE_LOCAL) >= 0;
        const bool isClosed = H5Fclose(handle) >= 0;
        handle = -1;
        if (!isWritten || !isClosed) {
            fail(file.path());
        }
    }
    file.commit();
}

} // namespace convert
