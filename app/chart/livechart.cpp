// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/livechart.h"

#include "platform/diagnostics.h"

#include <new>

namespace chart {

namespace {

// Layers, and their places among the plot's buffers: below the channels are background and grid,
// between channels and signals the items of "main".
const QString ChannelLayer = QStringLiteral("channels");
const QString SignalLayer = QStringLiteral("signals");
constexpr int ChannelBuffer = 1;
constexpr int SignalBuffer = 3;

} // namespace

LiveChart::LiveChart()
    : pacer([this] { paintNow(); }, this)
{
    // The legend is hidden, and would be laid out at each replot all the same.
    setAutoAddPlottableToLegend(false);
    addPicture(ChannelLayer, QStringLiteral("grid"), ChannelBuffer);
    connect(this, &QCustomPlot::beforeReplot, this, [this] { needsReplot = false; });
    connect(this, &QCustomPlot::beforeReplot, &pacer, &display::PaintPacer::beforePainting);
    connect(this, &QCustomPlot::afterReplot, &pacer, &display::PaintPacer::afterPainting);
}

CurvePicture* LiveChart::addPicture(const QString& name, const QString& below, int buffer)
{
    addLayer(name, layer(below)); // empties all buffers: paintEvent() replots
    layer(name)->setMode(QCPLayer::lmBuffered);
    auto* picture = new CurvePicture(this);
    mPaintBuffers.insert(buffer, QSharedPointer<QCPAbstractPaintBuffer>(picture));
    pictures.push_back(picture);
    return picture;
}

Graph* LiveChart::addChannel()
{
    const int inGroup = channels++ % GroupSize;
    if (inGroup == 0) {
        groups.push_back(std::make_shared<History>());
    }
    return new Graph(this, ChannelLayer, pictures.front(), groups.back(), inGroup);
}

Graph* LiveChart::addSignal()
{
    if (pictures.size() == 1) {
        addPicture(SignalLayer, QStringLiteral("main"), SignalBuffer);
    }
    return new Graph(this, SignalLayer, pictures.back(), std::make_shared<History>(), 0);
}

void LiveChart::addRecord(double key, const std::vector<int>& values, int first)
{
    try {
        const int count = qMin(int(values.size()), graphCount() - first);
        const int inRecord = qMax(0, qMin(count, channels - first));
        row.assign(values.begin(), values.begin() + inRecord);
        for (int done = 0; done < inRecord;) {
            History& group = *groups[(first + done) / GroupSize];
            const int begin = (first + done) % GroupSize;
            const int width = qMin(inRecord - done, GroupSize - begin);
            pictures.front()->add(group, key, row.data() + done, begin, width);
            done += width;
        }
        for (int i = inRecord; i < count; ++i) {
            if (auto* const signal = qobject_cast<Graph*>(graph(first + i))) {
                signal->addPoint(key, values[i]);
            }
        }
        isShort = false;
    } catch (const std::bad_alloc&) {
        // The log goes on without the chart.
        if (!std::exchange(isShort, true)) {
            platform::errorLine("chart: out of memory from the record of ", key, " s on");
        }
    }
}

void LiveChart::requestNews()
{
    const auto hasNews = [](const auto* picture) { return picture->hasNews(); };
    if (std::any_of(pictures.begin(), pictures.end(), hasNews)) {
        pacer.request();
    }
}

void LiveChart::requestReplot()
{
    needsReplot = true;
    pacer.request();
}

void LiveChart::paintNow()
{
    if (heldMove) {
        deliverMove();
        replot(rpQueuedReplot); // as the plot itself does if it is dragged
    } else if (needsReplot || hasInvalidatedPaintBuffers()) {
        replot(rpRefreshHint);
    } else {
        QRegion changed;
        for (CurvePicture* picture : pictures) {
            changed |= picture->refresh();
        }
        repaint(changed);
    }
}

// A mouse that drags may report a thousand times a second: the plot sees one move a paint. Not
// before it has seen the drag begin: it would take a short one for a click.
void LiveChart::mouseMoveEvent(QMouseEvent* event)
{
    struct Copy : QMouseEvent // which may copy events in Qt 6, too
    {
        explicit Copy(const QMouseEvent& move)
            : QMouseEvent(move)
        {}
    };
    if (event->buttons() == Qt::NoButton || !mMouseHasMoved) {
        QCustomPlot::mouseMoveEvent(event);
    } else {
        heldMove = std::make_unique<Copy>(*event);
        pacer.request();
    }
}

void LiveChart::deliverMove()
{
    if (const auto move = std::move(heldMove)) {
        QCustomPlot::mouseMoveEvent(move.get());
    }
}

void LiveChart::mouseReleaseEvent(QMouseEvent* event)
{
    deliverMove();
    QCustomPlot::mouseReleaseEvent(event);
}

void LiveChart::paintEvent(QPaintEvent* event)
{
    const bool isGrab = !isOnScreen();
    if (isGrab || hasInvalidatedPaintBuffers()) {
        replot(rpQueuedRefresh); // of the layout and the view as they are now
    }
    if (isGrab) {
        for (CurvePicture* picture : pictures) {
            picture->makeExact();
        }
    }
    QCustomPlot::paintEvent(event);
}

// In a paint event.
bool LiveChart::isOnScreen()
{
    const QPainter painter(this);
    QBackingStore* const screen = backingStore();
    return screen && painter.paintEngine()->paintDevice() == screen->paintDevice();
}

} // namespace chart
