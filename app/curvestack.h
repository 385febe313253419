// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/livegraph.h"

#include <QImage>
#include <QVector>
#include <array>
#include <optional>

class PlotCanvas;

// Curves that lie directly on top of one another, with nothing else between them.
//
// Painting a stack costs what changed. It keeps the picture of its last drawing, paints those
// columns anew that can differ from it, and copies the others. They can differ
//   - where new points lie,
//   - where the ground, whatever is painted beneath the stack, has other pixels than before.
// If a curve became another one (range, size, pen, selection, inserted points) or the stack has
// other members, all columns are painted.
class CurveStack
{
public:
    void clear();
    const QVector<LiveGraph*>& members() const { return graphs; }
    void add(LiveGraph* graph, const CurveInk& ink);

    // Paints the members, lowest first, while the plot is painting them. False, and nothing
    // painted, if it does not paint on a pixmap (PlotCanvas::isUsable).
    bool paint(QCPPainter* painter);

private:
    struct Picture
    {
        QVector<CurveInk> inks;
        // In those columns that have ink; the others hold anything.
        QImage ground;
        QImage painted; // the ground with the curves on it
    };

    void paintColumns(
        QCPPainter* painter, const PlotCanvas& canvas, const ColumnSpan& columns) const;
    ColumnSpan inkedColumns() const;
    std::optional<ColumnSpan> recallPicture();
    std::optional<ColumnSpan> changedColumns(const Picture& picture) const;

    QVector<LiveGraph*> graphs;
    QVector<CurveInk> inks; // of the graphs

    // Two, since around two points a pixel all curves flip between two shapes. The one in use is
    // in front.
    std::array<Picture, 2> pictures;
    QImage ground; // of the drawing in hand; a member to keep its memory
};
