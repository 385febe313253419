// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/curvepicture.h"
#include "chart/graph.h"
#include "display/framepacer.h"

namespace chart {

// Makes a plot fit for drives of any length. It stays a plain QCustomPlot, drawn at the pace of the
// display; what it is grabbed, printed or exported to is exact.
class LiveChart : public QObject
{
    Q_OBJECT

public:
    // Becomes a child of the plot.
    explicit LiveChart(QCustomPlot* plot);

    // The plot's. The channels of the records are its first graphs.
    Graph* addChannel();
    Graph* addGraph();

    // Adds the values of a record to the graphs from number `first` on, as far as there are any.
    // Out of memory, it says so on standard error and takes no more.
    void addRecord(double key, const std::vector<int>& values, int first = 0);

    // Whether what came since the last replot may show. If not, a replot would paint the same.
    bool hasNews() const;

    // Draws at the pace of the display: at once, or together with what comes until then. Drawing
    // decides what gets logged: meanwhile no record is asked for and none is read.
    void requestReplot() { pacer.request(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    CurvePicture* addPicture();
    bool holdMove(const QMouseEvent& move);
    void drawFrame();
    void makeExact();
    bool isOnScreen() const;

    QCustomPlot* plot;
    // Of the channels, and of the other graphs, between which the plot may have something else.
    std::vector<CurvePicture*> pictures;
    std::shared_ptr<History> records = std::make_shared<History>();
    int channels = 0;
    std::vector<double> row;      // of the record in hand
    std::vector<double> headroom; // for the rest of the program, where memory runs out
    bool isFull = false;

    display::FramePacer pacer;
    std::unique_ptr<QMouseEvent> heldMove;
    bool isMoving = false;
};

} // namespace chart
