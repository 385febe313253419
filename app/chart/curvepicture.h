// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/renderer.h"

#include <qcustomplot.h>

namespace chart {

// The curves of a layer of the plot in one picture, which stands among the buffers that the plot
// lays over each other on the screen.
//
// A replot only notes the scene: view, visible curves, pens. Worker threads paint it, so that a
// change of the view costs the GUI thread the same, however many points there are. Meanwhile the
// last picture is shown, moved and scaled, and the parts of the new one that are there. Points that
// arrive are painted on the GUI thread, in the columns that they touch, and need no replot.
class CurvePicture : public QCPAbstractPaintBuffer
{
public:
    // The plot's slot paintSoon() is called when refresh() has more to show.
    explicit CurvePicture(QCustomPlot* plot);
    ~CurvePicture() override { dropJob(); }

    // Points come and go by these alone. See History::add().
    void add(History& history, double key, const double* values, int firstChannel, int width);
    void clear(History& history) // replot afterwards
    {
        history = History();
        changes = {-Infinite, Infinite};
    }

    // Whether what came since the last refresh() may show.
    bool hasNews() const
    {
        return invalidated() || (!scene.curves.empty() && changes.lowest <= scene.keys.upper &&
                                 changes.highest >= scene.keys.lower);
    }

    // Brings the picture up to date, as far as that is quickly done, and has the workers do the
    // rest. Gives the part of the plot that is to be painted anew.
    QRect refresh();

    // The same, but waits for the workers: the picture is exact then, unless memory is short.
    void makeExact();

    // The graphs call it to be drawn: a replot takes the curve into the scene, an export paints it.
    void take(const Curve& curve, QCPPainter* painter);

    // A curve by itself, as it is painted in a part of the plot.
    QImage imageOf(Curve curve, const QRect& part, double pixelRatio) const;

    QCPPainter* startPainting() override; // begins the scene
    void donePainting() override { refresh(); }
    void draw(QCPPainter* painter) const override;
    void clear(const QColor& /*color*/) override {} // a replot shows the last picture, too

protected:
    void reallocateBuffer() override {}

private:
    struct Job; // makes the picture of a scene

    QRect takeFromJob();
    QRect paintChanges();
    void startJob();
    void dropJob();
    QRect inPlot(const QRect& columns) const;

    QCustomPlot* plot;
    QPixmap blank{1, 1}; // where the graphs are drawn in a replot
    Scene scene{};       // of the last replot
    QRect area;          // of the scene in the plot

    Scene pictured{}; // what the picture shows
    QImage picture;
    Span changes; // keys between which points changed since the picture or the start of the job
    std::shared_ptr<Job> job; // makes the next picture; null if this one is right
    int stripesShown = 0;     // of the job, if its scene is that of the last replot
};

} // namespace chart
