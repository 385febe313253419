// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/livechart.h"

#include <QScopedValueRollback>
#include <cstdio>
#include <new>

namespace chart {

LiveChart::LiveChart(QCustomPlot* customPlot)
    : QObject(customPlot)
    , plot(customPlot)
    , pacer([this] { drawFrame(); }, this)
{
    addPicture();
    // The legend is hidden, and would be laid out at each replot all the same. To leave it again
    // takes each graph a search through all of them.
    plot->setAutoAddPlottableToLegend(false);
    headroom.reserve(4'194'304); // 32 MiB. Never touched, it takes none.
    connect(plot, &QCustomPlot::beforeReplot, &pacer, &display::FramePacer::beforePainting);
    connect(plot, &QCustomPlot::afterReplot, &pacer, &display::FramePacer::afterPainting);
    plot->installEventFilter(this);
}

CurvePicture* LiveChart::addPicture()
{
    pictures.push_back(new CurvePicture(plot)); // the plot's
    connect(pictures.back(), &CurvePicture::improved, this, &LiveChart::requestReplot);
    return pictures.back();
}

Graph* LiveChart::addChannel()
{
    return new Graph(pictures.front(), records, channels++);
}

Graph* LiveChart::addGraph()
{
    CurvePicture* const picture = pictures.size() > 1 ? pictures.back() : addPicture();
    return new Graph(picture, std::make_shared<History>(), 0);
}

void LiveChart::addRecord(double key, const std::vector<int>& values, int first)
{
    if (isFull) {
        return;
    }
    try {
        const int count = qMin(static_cast<int>(values.size()), plot->graphCount() - first);
        const int inRecord = qMin(count, channels - first);
        if (inRecord > 0) {
            row.assign(values.begin(), values.begin() + inRecord);
            pictures.front()->noteChange(records->add(key, row.data(), first, inRecord));
        }
        for (int i = qMax(0, inRecord); i < count; ++i) {
            const double value = values[static_cast<std::size_t>(i)];
            if (auto* const graph = qobject_cast<Graph*>(plot->graph(first + i))) {
                graph->addPoint(key, value);
            } else {
                plot->graph(first + i)->addData(key, value);
            }
        }
    } catch (const std::bad_alloc&) {
        // The log goes on without the chart.
        isFull = true;
        headroom = std::vector<double>();
        std::fprintf(stderr, "chart: out of memory, stopped at the record of %.3f s\n", key);
    }
}

bool LiveChart::hasNews() const
{
    return std::any_of(
        pictures.begin(), pictures.end(), [](const auto* picture) { return picture->hasNews(); });
}

void LiveChart::drawFrame()
{
    if (const auto move = std::move(heldMove)) {
        const QScopedValueRollback<bool> moving(isMoving, true);
        QCoreApplication::sendEvent(plot, move.get());
        plot->replot(QCustomPlot::rpQueuedReplot); // as the plot itself does if it is dragged
    } else {
        plot->replot(QCustomPlot::rpRefreshHint);
    }
}

// A mouse that drags may report a thousand times a second: the plot sees one move a frame.
bool LiveChart::holdMove(const QMouseEvent& move)
{
    struct Copy : QMouseEvent // which may copy events in Qt 6, too
    {
        explicit Copy(const QMouseEvent& event)
            : QMouseEvent(event)
        {}
    };
    if (isMoving || move.buttons() == Qt::NoButton) {
        return false;
    }
    heldMove = std::make_unique<Copy>(move);
    pacer.request();
    return true;
}

bool LiveChart::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseMove) {
        return holdMove(static_cast<QMouseEvent&>(*event));
    }
    if (event->type() == QEvent::MouseButtonRelease && heldMove) {
        drawFrame();
    }
    if (event->type() == QEvent::Paint) {
        makeExact();
    }
    return QObject::eventFilter(watched, event);
}

// Whoever looks by other means than the screen does not look again: he gets the exact picture.
void LiveChart::makeExact()
{
    if (pictures.front()->inReplot() || isOnScreen()) {
        return;
    }
    for (CurvePicture* picture : pictures) {
        picture->makeExact();
    }
    plot->replot(QCustomPlot::rpQueuedRefresh);
}

// In a paint event of the plot.
bool LiveChart::isOnScreen() const
{
    const QPainter painter(plot);
    QBackingStore* const screen = plot->backingStore();
    return screen && painter.paintEngine()->paintDevice() == screen->paintDevice();
}

} // namespace chart
