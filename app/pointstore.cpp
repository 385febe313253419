// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pointstore.h"

#include <new>

namespace {
constexpr int growthMoments = 128;
constexpr int firstCapacity = 1024;

// Copying this many points takes about 4 ms. Larger stores therefore ask for room that they are
// unlikely ever to fill. The system hands out memory when it is first written to, so this costs
// address space only.
constexpr int largestCopy = 512 * 1024;
constexpr int roomyFactor = 16;
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
    const int spare = capacity / (2 * growthMoments) * ordinal;
    if (capacity - mData.size() > spare) {
        return;
    }
    if (capacity < largestCopy) {
        mData.reserve(qMax(firstCapacity, 2 * capacity));
        return;
    }
    try {
        mData.reserve(roomyFactor * capacity);
    } catch (const std::bad_alloc&) {
        // The system does not overcommit: go on with what QVector asks for when it is full.
    }
}
