// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVector>
#include <qcustomplot.h>

// The points of one graph, 16 bytes each, for a session that appends to many graphs at every
// record.
//
// It grows before it is full, each store at a moment of its own: all vectors of a chart growing at
// one record would stall that record for 100 ms and more.
//
// Its base class lets anybody change the points and tells nobody. So the store keeps a second,
// implicitly shared handle of the vector, the seal: a change from outside detaches the vector from
// it. That costs the outsider one copy of the points, and append() nothing.
class PointStore : public QCPGraphDataContainer
{
public:
    // ordinal: the place among the stores that grow together, 0 to 127 (taken modulo 128).
    explicit PointStore(int ordinal);

    void append(double key, double value);

    // Changes whenever points were changed, inserted or taken away, but not when append() put one
    // behind the last: as long as it stays the same, every point that was there still is, at its
    // old index.
    int revision();

private:
    void growAhead();

    int ordinal;
    int changes = 0;
    QVector<QCPGraphData> seal;
};
