// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/outputfile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace convert {

// The library is not safe for threads: all calls of it run under one lock. Failures throw Trouble.

// A dataset of one dimension that grows, written in compressed chunks.
class Hdf5Column
{
public:
    enum Type { Whole, Real }; // int32, or double with NaN for what is missing

    Hdf5Column(std::int64_t datasetHandle, Type valueType, std::string filePath);
    ~Hdf5Column();
    Hdf5Column(const Hdf5Column&) = delete;
    Hdf5Column& operator=(const Hdf5Column&) = delete;

    Type type() const { return valueType; }
    double missing() const; // 0 in a column of whole numbers
    void append(double value);
    void flush(); // what waits for a whole chunk

private:
    const std::int64_t dataset;
    const Type valueType;
    const std::string path;
    std::vector<std::int32_t> whole; // one of the two is used
    std::vector<double> real;
    std::uint64_t written = 0;
};

// The dataset "tags", a table of time_s and text.
class Hdf5Tags
{
public:
    Hdf5Tags(std::int64_t datasetHandle, std::int64_t rowType, std::string filePath);
    ~Hdf5Tags();
    Hdf5Tags(const Hdf5Tags&) = delete;
    Hdf5Tags& operator=(const Hdf5Tags&) = delete;

    void append(double seconds, std::string_view text);

private:
    const std::int64_t dataset;
    const std::int64_t type;
    const std::string path;
    std::uint64_t written = 0;
};

class Hdf5File
{
public:
    Hdf5File(const std::string& path, bool replaces);
    ~Hdf5File();
    Hdf5File(const Hdf5File&) = delete;
    Hdf5File& operator=(const Hdf5File&) = delete;

    // A dataset below a group, "/" or one that is made at need. Its attributes are "name" and, if
    // there is one, "unit". A "/" in the name, which would be a group, becomes "|" in the
    // dataset's.
    std::unique_ptr<Hdf5Column> addColumn(
        const std::string& group, const std::string& name, Hdf5Column::Type type,
        const std::string& unit);
    std::unique_ptr<Hdf5Tags> addTags();

    // All columns have been flushed and are gone.
    void commit();

private:
    PartFile file;
    std::int64_t handle = -1;
};

} // namespace convert
