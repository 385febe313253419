// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/graph.h"
#include "chart/renderer.h"
#include "display/framepacer.h"

#include <QTimer>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace chart {

// What stands on the chart, but for the points.
struct Scene
{
    // Curves with nothing else between them, lowest first.
    using Stack = std::vector<std::pair<const Graph*, QPen>>;

    double pixelRatio; // pixels of the picture to one of the plot
    QRect area;        // of the plot
    View view;
    std::vector<Stack> stacks;

    bool operator==(const Scene& other) const
    {
        return pixelRatio == other.pixelRatio && area == other.area && view == other.view &&
               stacks == other.stacks;
    }
};

// Makes a plot fit for drives of any length: what a change of the view costs the GUI thread does
// not depend on the number of points. Worker threads paint the curves; meanwhile the plot shows the
// last picture, moved and scaled. Points that arrive are painted at once, in the columns that they
// touch.
//
// The plot stays a plain QCustomPlot. What it is grabbed, printed or exported to is exact.
class LiveChart : public QObject
{
    Q_OBJECT

public:
    // Becomes a child of the plot.
    explicit LiveChart(QCustomPlot* plot);
    ~LiveChart() override;

    // Without an entry in the legend: the plot lays that out at each replot, though it is hidden.
    // The channels of the records are the first graphs of the plot.
    Graph* addChannel() { return addGraph(channels++); }
    Graph* addGraph() { return addGraph(-1); }

    // Adds the values of a record to the graphs from number `first` on, as far as there are any.
    void addRecord(double key, const std::vector<int>& values, int first = 0);
    void addPoint(int graph, double key, double value);

    // Whether what came since the last replot may show. If not, a replot would paint the same.
    bool hasNews() const;

    // Draws at the pace of the display: at once, or together with what comes until then. Drawing
    // decides what gets logged: meanwhile no record is asked for and none is read.
    void requestReplot()
    {
        isRequested = true;
        pacer.request();
    }

    // For the graphs.
    QCustomPlot* customPlot() const { return plot; }
    const History& records() const { return history; }
    void noteChange(const Span& keys) { changes = changes.united(keys); }
    Scene emptyScene(double pixelRatio) const;
    bool paint(const Graph* graph, QCPPainter* painter); // false: the library is to do it

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Job; // paints the pictures of a scene

    Graph* addGraph(int channel);
    Scene currentScene(double pixelRatio) const;
    bool holdsMove(const QMouseEvent& move);
    void moveOn();
    void prepare(double pixelRatio);
    void start();
    void setJob(std::shared_ptr<Job> next, int number);
    void work();
    void adopt();
    bool update();
    void draw(std::size_t stack, QCPPainter* painter) const;

    QCustomPlot* plot;
    History history{true};
    int channels = 0;
    std::vector<double> row;      // of the record in hand
    std::vector<double> headroom; // for the rest of the program, where memory runs out
    bool isFull = false;

    bool isReplotting = false;
    bool isPrepared = false; // in this replot
    bool isRequested = false;
    display::FramePacer pacer;
    display::FramePacer moves; // of a mouse that drags
    std::unique_ptr<QMouseEvent> lastMove;
    bool isMoving = false;

    Scene wanted{};   // by the replot in hand, or the last one
    Scene pictured{}; // the scene of the pictures, one for each stack
    std::vector<QImage> pictures;
    Span changes; // keys between which points came since the pictures or the job's start
    QTimer poll;  // looks after the job while there is one

    // Makes the next pictures; null if these are right. Changed under the lock, by the GUI thread.
    std::shared_ptr<Job> job;
    int jobNumber = 0; // of the latest; negative at the end of the chart
    std::mutex mutex;
    std::condition_variable changed; // there is another job, or one is finished
    std::vector<std::thread> workers;
};

} // namespace chart
