// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/outputfile.h"

#include <deque>
#include <hdf5.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace convert {

// A call of the library that went wrong. It has no reason that would help a user.
struct Hdf5Failure
{};

// Throws Hdf5Failure for a negative number, which is what failed calls give.
inline void checkHdf5(hid_t result)
{
    if (result < 0) {
        throw Hdf5Failure();
    }
}

// An object of the library, closed at the end; all functions that make one take and give these.
class Hdf5Handle
{
public:
    Hdf5Handle(hid_t handle)
        : id(handle)
    {
        checkHdf5(id);
    }
    Hdf5Handle(Hdf5Handle&& other) noexcept
        : id(std::exchange(other.id, H5I_INVALID_HID))
    {}
    ~Hdf5Handle()
    {
        if (id >= 0) {
            H5Idec_ref(id);
        }
    }
    Hdf5Handle& operator=(Hdf5Handle&& other) = delete;

    operator hid_t() const { return id; }

    // For closing it ahead of the destructor, which cannot throw what goes wrong.
    hid_t release() { return std::exchange(id, H5I_INVALID_HID); }

private:
    hid_t id;
};

// A dataset of one dimension that grows, written in compressed chunks.
class Hdf5Column
{
public:
    enum Type { Whole, Real }; // int32, or double with NaN for what is missing

    Hdf5Column(Hdf5Handle target, Type valueType)
        : dataset(std::move(target))
        , type(valueType)
    {}

    void append(double value); // NaN is missing, and 0 among whole numbers
    void flush();              // what waits for a whole chunk

private:
    Hdf5Handle dataset;
    Type type;
    std::vector<double> waiting;
};

class Hdf5File
{
public:
    Hdf5File(const std::string& path, bool replaces);

    // A dataset with the attributes "name" and, if there is one, "unit". Groups on its path are
    // made where they are missing.
    // The column lives until commit().
    Hdf5Column& addColumn(
        const std::string& path, Hdf5Column::Type type, const std::string& name,
        const std::string& unit);

    // The dataset "tags", a table of time_s and text.
    Hdf5Handle addTags();
    static void appendTag(hid_t tags, double seconds, std::string_view text);

    // After all columns have been flushed and destroyed.
    void commit();

private:
    Hdf5Handle addDataset(const std::string& path, hid_t type);

    PartFile part;
    Hdf5Handle file;
    std::deque<Hdf5Column> columns;
};

} // namespace convert
