// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointF>
#include <QVector>
#include <qcustomplot.h>

// The pixel polyline that QCPGraph paints where points lie denser than two a pixel: each pixel's
// points are drawn as one cluster, from their lowest to their highest value. This class gives the
// same polyline, bit for bit, but takes the points as they come and looks at each of them once.
//
// For a linear, horizontal key axis that grows to the right.
class SampledLine
{
public:
    using Iterator = QCPGraphDataContainer::const_iterator;

    // Forgets all points.
    void restart(const QCPAxis* keyAxis, const QCPAxis* valueAxis);

    // Takes the points that follow those taken so far.
    void extend(Iterator first, Iterator end);

    // Points taken since restart().
    int consumed() const { return taken; }

    const QVector<QPointF>& pixels() const { return line; }

    // So many of pixels(), from the front, stay as they are whatever points follow. The rest draws
    // the cluster that is still open.
    int settled() const { return closed; }

    // False once a pixel cannot be told as QCPGraph does, which counts them in an int: points 2^31
    // pixels away, or keys that are no numbers.
    bool isSound() const { return sound; }

private:
    // The points within one pixel.
    struct Cluster
    {
        double startKey; // of the pixel
        QCPGraphData first;
        double lowest;
        double highest;
        int count;
    };

    Cluster openCluster(const QCPGraphData& point);
    Iterator fillCluster(Iterator point, Iterator end);
    void drawCluster();
    void drawPoint(double key, double value);

    const QCPAxis* keys = nullptr;
    const QCPAxis* values = nullptr;
    QVector<QPointF> line;
    int closed = 0;
    int taken = 0;
    bool sound = true;

    Cluster open = {};
    double previousEndKey = 0; // of the last point before the open cluster
    double pixelKeys = 0;      // width of a pixel in keys
};
