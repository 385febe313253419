// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/curvestack.h"

#include <QObject>
#include <QSet>
#include <QVector>
#include <vector>

class LiveGraph;
class QCPPainter;
class QCustomPlot;

// Makes a plot fit for a live session of 128 channels: graphs that are made here are painted
// incrementally (CurveStack), and no record stalls while their points find room (PointStore).
//
// The plot stays a plain QCustomPlot. Ranges, sizes, visibility, selection, pens, items, exports
// and changes of the data, by whatever means, work as they do without this object and give the same
// picture, pixel for pixel.
class LiveChart : public QObject
{
    Q_OBJECT

public:
    // Becomes a child of the plot.
    explicit LiveChart(QCustomPlot* plot);

    // Adds a graph on the plot's default axes. It gets no entry in the plot's legend.
    LiveGraph* addGraph();

    // Adds a point to graph number index of the plot; nothing if there is none.
    void addPoint(int index, double key, double value);

    // Whether a point that came by addPoint() since the last replot may show. If none does, a
    // replot would paint the same picture again.
    bool hasNewInk() const { return newInk; }

    // For LiveGraph::draw. Paints all curves of the graph's stack, once in a replot. False if
    // QCPGraph is to paint the graph.
    bool paint(LiveGraph* graph, QCPPainter* painter);

private:
    bool paintStackFrom(LiveGraph* lowest, QCPPainter* painter);

    QCustomPlot* plot;
    bool newInk = false;

    bool incremental = false;       // in a replot, on a device that allows it
    QSet<LiveGraph*> painted;       // in this replot
    std::vector<CurveStack> stacks; // in the order of painting
    std::size_t usedStacks = 0;     // in this replot
};
