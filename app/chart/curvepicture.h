// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/renderer.h"

#include <QTimer>
#include <qcustomplot.h>

namespace chart {

// The curves of some graphs in one picture, which stands in the plot where these graphs stand.
//
// Worker threads paint it, so that a change of the view costs the GUI thread the same, however many
// points there are. Meanwhile it shows the last picture, moved and scaled, and the parts of the new
// one that are there. Points that arrive are painted at once, in the columns that they touch.
class CurvePicture : public QCPLayerable
{
    Q_OBJECT

public:
    explicit CurvePicture(QCustomPlot* plot);
    ~CurvePicture() override;

    // The graphs call it for points that came or went between two keys.
    void noteChange(const Span& keys) { changes.unite(keys); }

    // Whether what came since the last replot may show.
    bool hasNews() const;

    // False in an export, where each graph draws itself.
    bool inReplot() const { return isReplotting; }

    // Waits for the workers: the next replot shows the exact picture.
    void makeExact();

signals:
    void improved(); // a replot would show more

protected:
    QRect clipRect() const override { return mParentPlot->axisRect()->rect(); }
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override;
    void draw(QCPPainter* painter) override;

private:
    struct Job; // makes the picture of a scene

    QRect area() const;
    Scene currentScene(double pixelRatio) const;
    void prepare(const Scene& wanted);
    bool update(const Scene& wanted);
    void start(const Scene& wanted);

    bool isReplotting = false;
    Scene pictured{}; // what the picture shows
    QImage picture;
    Span changes; // keys between which points changed since the picture or the start of the job
    std::unique_ptr<Job> job; // makes the next picture; null if this one is right
    QTimer poll;              // looks after the job while there is one
};

} // namespace chart
