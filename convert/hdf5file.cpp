// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/hdf5file.h"

#include "convert/report.h"

#include <cmath>
#include <cstddef>
#include <hdf5_hl.h>

#ifndef H5_HAVE_THREADSAFE
#error "Files are written by several threads, which this build of the library does not allow."
#endif

namespace convert {

namespace {

constexpr hsize_t ChunkSize = 8192; // values
constexpr unsigned CompressionLevel = 3;

Hdf5Handle createFile(const std::string& path)
{
    if (path == "-") {
        throw ConversionError("standard output: cannot be an HDF5 file");
    }
    H5dont_atexit();                             // files that failed would be written once more
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr); // no messages of this thread's calls
    return H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
}

Hdf5Handle textType()
{
    Hdf5Handle type = H5Tcopy(H5T_C_S1);
    checkHdf5(H5Tset_size(type, H5T_VARIABLE));
    checkHdf5(H5Tset_cset(type, H5T_CSET_UTF8));
    return type;
}

struct TagRow
{
    double seconds;
    const char* text;
};

Hdf5Handle tagType()
{
    Hdf5Handle type = H5Tcreate(H5T_COMPOUND, sizeof(TagRow));
    checkHdf5(H5Tinsert(type, "time_s", offsetof(TagRow, seconds), H5T_NATIVE_DOUBLE));
    checkHdf5(H5Tinsert(type, "text", offsetof(TagRow, text), textType()));
    return type;
}

void setAttribute(hid_t object, const char* name, const std::string& value)
{
    const Hdf5Handle type = textType();
    const Hdf5Handle space = H5Screate(H5S_SCALAR);
    const Hdf5Handle attribute = H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
    const char* const text = value.c_str();
    checkHdf5(H5Awrite(attribute, type, &text));
}

} // namespace

void Hdf5Column::append(double value)
{
    waiting.push_back(type == Whole && std::isnan(value) ? 0.0 : value);
    if (waiting.size() == ChunkSize) {
        flush();
    }
}

void Hdf5Column::flush()
{
    if (!waiting.empty()) {
        const void* const values = waiting.data();
        checkHdf5(H5DOappend(dataset, H5P_DEFAULT, 0, waiting.size(), H5T_NATIVE_DOUBLE, values));
        waiting.clear();
    }
}

Hdf5File::Hdf5File(const std::string& path, bool replaces)
    : part(path, replaces)
    , file(createFile(part.writtenPath()))
{}

// Empty and growing. Whole chunks go past the cache, which would cost a MiB a dataset.
Hdf5Handle Hdf5File::addDataset(const std::string& path, hid_t type)
{
    const hsize_t none = 0;
    const hsize_t unlimited = H5S_UNLIMITED;
    const Hdf5Handle space = H5Screate_simple(1, &none, &unlimited);
    const Hdf5Handle creation = H5Pcreate(H5P_DATASET_CREATE);
    checkHdf5(H5Pset_chunk(creation, 1, &ChunkSize));
    checkHdf5(H5Pset_shuffle(creation));
    checkHdf5(H5Pset_deflate(creation, CompressionLevel));
    const Hdf5Handle access = H5Pcreate(H5P_DATASET_ACCESS);
    checkHdf5(H5Pset_chunk_cache(access, 1, 0, 1.0));
    const Hdf5Handle links = H5Pcreate(H5P_LINK_CREATE);
    checkHdf5(H5Pset_char_encoding(links, H5T_CSET_UTF8));
    checkHdf5(H5Pset_create_intermediate_group(links, 1));
    return H5Dcreate2(file, path.c_str(), type, space, links, creation, access);
}

Hdf5Column& Hdf5File::addColumn(
    const std::string& path, Hdf5Column::Type type, const std::string& name,
    const std::string& unit)
{
    Hdf5Handle dataset =
        addDataset(path, type == Hdf5Column::Whole ? H5T_STD_I32LE : H5T_IEEE_F64LE);
    setAttribute(dataset, "name", name);
    if (!unit.empty()) {
        setAttribute(dataset, "unit", unit);
    }
    return columns.emplace_back(std::move(dataset), type);
}

Hdf5Handle Hdf5File::addTags()
{
    return addDataset("/tags", tagType());
}

void Hdf5File::appendTag(hid_t tags, double seconds, std::string_view text)
{
    const std::string copy(text);
    const TagRow row{seconds, copy.c_str()};
    checkHdf5(H5DOappend(tags, H5P_DEFAULT, 0, 1, tagType(), &row));
}

void Hdf5File::commit()
{
    for (Hdf5Column& column : columns) {
        column.flush();
    }
    columns.clear();
    checkHdf5(H5Fflush(file, H5F_SCOPE_LOCAL));
    checkHdf5(H5Idec_ref(file.release()));
    part.commit();
}

} // namespace convert
