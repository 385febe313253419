// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pointstore.h"

#include <new>

namespace {

constexpr int growthMoments = 128;
constexpr int firstCapacity = 1024;

// A store this full is copied in half a millisecond, and for the last time: it then asks for room
// that it will hardly ever fill. That costs address space only, for the system hands out memory
// when it is first written to.
constexpr int largestCopy = 64 * 1024;
constexpr int roomForGood = 16 * 1024 * 1024;

} // namespace

PointStore::PointStore(int ordinalInChart)
    : ordinal(ordinalInChart % growthMoments)
{}

void PointStore::append(double key, double value)
{
    revision();
    if (!isEmpty() && key < (constEnd() - 1)->key) {
        ++changes;
    }
    // By assignment: clear() would detach, and copy all points, before it drops them.
    seal = QVector<QCPGraphData>();
    growAhead();
    add(QCPGraphData(key, value));
    seal = mData;
}

int PointStore::revision()
{
    if (!mData.isSharedWith(seal)) {
        ++changes;
        seal = mData;
    }
    return changes;
}

void PointStore::growAhead()
{
    const int capacity = mData.capacity();
    // Spread over the second half of the room.
    const int spare = capacity / (2 * growthMoments) * ordinal;
    if (capacity - mData.size() > spare) {
        return;
    }
    const int twice = qMax(firstCapacity, 2 * capacity);
    if (capacity < largestCopy) {
        mData.reserve(twice);
        return;
    }
    try {
        mData.reserve(qMax(roomForGood, twice));
    } catch (const std::bad_alloc&) { // a system that keeps account of address space
        mData.reserve(twice);
    }
}
