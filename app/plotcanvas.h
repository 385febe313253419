// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/columnspan.h"

#include <QImage>
#include <QRect>
#include <qcustomplot.h>

// A rectangle of the pixmap that a plot paints on, while it does. Copies columns out of it and back
// into it, without blending. Columns are those of the plot; a picture holds the whole rectangle in
// device pixels.
class PlotCanvas
{
public:
    // The rectangle is cut to the pixmap. The painter keeps its clip.
    PlotCanvas(QCPPainter* painter, const QRect& rectangle);

    // False if there is nothing to paint on, or no pixmap whose columns are whole device pixels.
    bool isUsable() const { return !area.isEmpty(); }

    ColumnSpan columns() const { return {area.left(), area.right()}; }
    QRect rectOf(const ColumnSpan& span) const;

    // Copies columns into a picture of this canvas. A picture of another size becomes a new one.
    void copyInto(QImage* picture, const ColumnSpan& span) const;
    // Copies columns of a picture back, but for those that changed.
    void putBackOutside(
        const QImage& picture, const ColumnSpan& span, const ColumnSpan& changed) const;

    // Of the columns given, those in which two pictures differ, united with those of which that is
    // known already.
    ColumnSpan differences(
        const QImage& a, const QImage& b, const ColumnSpan& span, const ColumnSpan& known) const;

private:
    void putBack(const QImage& picture, const ColumnSpan& span) const;

    QCPPainter* painter;
    const QPixmap* pixmap;
    int ratio = 0; // device pixels per column
    QRect area;
};
