// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/columnspan.h"
#include "app/pointstore.h"
#include "app/sampledline.h"

#include <QPen>
#include <QPointer>
#include <QSharedPointer>
#include <optional>
#include <qcustomplot.h>
#include <utility>

class LiveChart;

// What the ink of one curve depends on, as of one drawing.
struct CurveInk
{
    quint64 polyline = 0; // its number: another number is another line; 0 is a line without ink
    bool sampled = false; // clusters of points, not the points themselves
    QPen pen;
    int points = 0;     // of data, in the polyline
    int pixels = 0;     // points of the polyline
    int settled = 0;    // so many of them, from the front, stay whatever points follow
    ColumnSpan columns; // that the ink may touch
};

// A graph of the live chart. It is a QCPGraph in all respects, and the picture is the same, but an
// appended point costs the painting of its own segment only. Made by LiveChart::addGraph().
//
// Every change by the means of QCPGraph shows; append() is the fast way to add a point.
class LiveGraph : public QCPGraph
{
    Q_OBJECT

public:
    LiveGraph(QCPAxis* keyAxis, QCPAxis* valueAxis, int ordinal, LiveChart* chart);

    // Adds one point. True if the curve in view may look different for it.
    bool append(double key, double value);

    // For the painting of several graphs in one go (CurveStack).

    // Brings the polyline up to date. Nothing if this curve is to be painted by QCPGraph: anything
    // but a plain antialiased line over a linear, horizontal key axis.
    std::optional<CurveInk> currentInk();

    // The columns in which the ink may differ from that of an earlier drawing. Nothing if it may
    // differ anywhere.
    std::optional<ColumnSpan> changedColumns(const CurveInk& before, const CurveInk& now) const;

    // Paints the ink that currentInk() told in the given columns, and at random in other columns.
    void paintColumns(QCPPainter* painter, const CurveInk& ink, const ColumnSpan& columns) const;

    QRect paintArea() const { return clipRect(); }

protected:
    void draw(QCPPainter* painter) override;

private:
    // All that turns points into pixels.
    struct Mapping
    {
        const QCPAxis* keyAxis;
        const QCPAxis* valueAxis;
        QRect area;
        QCPRange keys;
        QCPRange values;
        QCPAxis::ScaleType valueScale;
        bool valuesReversed;

        bool operator==(const Mapping& other) const;
    };

    bool isPlainLine() const;
    Mapping mapping() const;
    void startPolyline(const Mapping& mapping, int firstPoint);
    std::pair<QCPGraphDataContainer::const_iterator, QCPGraphDataContainer::const_iterator>
    pointsInView() const;
    bool isSampled(int pointCount) const;
    ColumnSpan columnsFrom(const CurveInk& ink, int index) const;
    double pixelX(const CurveInk& ink, int index) const;
    QVector<QPointF> pixels(const CurveInk& ink, const ColumnSpan& columns) const;

    QPointer<LiveChart> chart;
    QSharedPointer<PointStore> store;

    quint64 polyline = 0;
    Mapping mappingOfLine = {};
    int revisionOfLine = 0;
    int firstPointOfLine = 0; // index into the data
    int checkedPoints = 0;    // of the line, known to have finite keys
    SampledLine sampledLine;
};
