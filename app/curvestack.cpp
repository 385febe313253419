// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/curvestack.h"

#include "app/plotcanvas.h"

#include <utility>

void CurveStack::clear()
{
    graphs.clear();
    inks.clear();
}

void CurveStack::add(LiveGraph* graph, const CurveInk& ink)
{
    graphs.append(graph);
    inks.append(ink);
}

bool CurveStack::paint(QCPPainter* painter)
{
    // QCustomPlot clips one pixel higher than the axis rect.
    const PlotCanvas canvas(painter, graphs.first()->paintArea().translated(0, -1));
    if (!canvas.isUsable()) {
        return false;
    }
    const ColumnSpan inked = inkedColumns().intersected(canvas.columns());
    canvas.copyInto(&ground, inked);
    const auto changed = recallPicture();
    Picture& picture = pictures[0];

    ColumnSpan columns = inked;
    if (changed && picture.ground.size() == ground.size()) {
        columns = canvas.differences(picture.ground, ground, inked, changed->intersected(inked));
        canvas.putBackOutside(picture.painted, inked, columns);
    }
    if (!columns.isEmpty()) {
        paintColumns(painter, canvas, columns);
        canvas.copyInto(&picture.painted, columns);
    }
    std::swap(picture.ground, ground);
    picture.inks = inks;
    return true;
}

ColumnSpan CurveStack::inkedColumns() const
{
    ColumnSpan inked;
    for (const CurveInk& ink : inks) {
        inked = inked.united(ink.columns);
    }
    return inked;
}

void CurveStack::paintColumns(
    QCPPainter* painter, const PlotCanvas& canvas, const ColumnSpan& columns) const
{
    painter->save();
    painter->setAntialiasing(false); // which takes back a shift by half a pixel
    painter->setClipRect(canvas.rectOf(columns));
    for (int i = 0; i < graphs.size(); ++i) {
        graphs.at(i)->paintColumns(painter, inks.at(i), columns);
    }
    painter->restore();
}

// Puts the picture in front that can be brought up to date, and tells the columns to do so. If none
// can, it is the one that was not in use.
std::optional<ColumnSpan> CurveStack::recallPicture()
{
    auto changed = changedColumns(pictures[0]);
    if (!changed) {
        std::swap(pictures[0], pictures[1]);
        changed = changedColumns(pictures[0]);
    }
    return changed;
}

std::optional<ColumnSpan> CurveStack::changedColumns(const Picture& picture) const
{
    if (picture.inks.size() > inks.size()) {
        return {};
    }
    ColumnSpan changed;
    for (int i = 0; i < graphs.size(); ++i) {
        const CurveInk before = picture.inks.value(i); // no ink if it is new
        const auto columns = graphs.at(i)->changedColumns(before, inks.at(i));
        if (!columns) {
            return {};
        }
        changed = changed.united(*columns);
    }
    return changed;
}
