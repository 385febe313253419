// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/curvepicture.h"
#include "chart/graph.h"
#include "display/paintpacer.h"

namespace chart {

// A plot that is fit for drives of any length. All but its curves is painted by a replot, at the
// pace of the display: ask for one when a view, a tag or a visibility has changed. A record needs
// none. What the chart is grabbed, printed or exported to is exact.
class LiveChart : public QCustomPlot
{
    Q_OBJECT

public:
    LiveChart();
    ~LiveChart() override { mPaintBuffers.clear(); } // no job calls paintSoon() any more

    // The plot's. The channels of the records are its first graphs, below its items; signals are
    // above them.
    Graph* addChannel();
    Graph* addSignal();

    // Adds the values of a record to the graphs from number `first` on, as far as there are any.
    // Out of memory, it leaves out the rest of the record, and says so on standard error.
    void addRecord(double key, const std::vector<int>& values, int first = 0);

    // Paints what addRecord() brought, if it may show; otherwise it costs nothing.
    void requestNews();

    // Replots. Both paint at once, or together with what comes until the display shows the next
    // picture. Painting decides what gets logged: meanwhile no record is asked for and none is
    // read.
    void requestReplot();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private slots:
    void paintSoon() { pacer.request(); }

private:
    CurvePicture* addPicture(const QString& layer, const QString& below, int buffer);
    void paintNow();
    void deliverMove();
    bool isOnScreen();

    std::vector<CurvePicture*> pictures; // owned as buffers of the plot
    // The channels in groups. Sessions have a multiple of so many channels. A record of an opened
    // log has one more: alone in its group, it cuts no block of the others.
    static constexpr int GroupSize = 32;
    std::vector<std::shared_ptr<History>> groups;
    int channels = 0;
    std::vector<double> row; // of the record in hand
    bool isShort = false;    // of memory, at the latest record

    display::PaintPacer pacer;
    bool needsReplot = false;
    std::unique_ptr<QMouseEvent> heldMove;
};

} // namespace chart
