// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/livechart.h"

#include <QScopedValueRollback>
#include <QtMath>
#include <cstdio>
#include <cstring>
#include <new>
#include <sys/resource.h>

namespace chart {

namespace {

constexpr int WorkerNiceness = 5;
constexpr int PollMs = 5;
constexpr int StripeWidth = 64;
constexpr int MostColumnsAtOnce = 64; // that are painted on the GUI thread

// A job that is older shows its stripes one by one, and is given up if the view changes. A younger
// one ends soon, and fills the gaps of a view that keeps moving.
constexpr int LongJobMs = 100;

constexpr std::size_t HeadroomSize = 4'194'304; // of 8 bytes. Never touched, it costs none.

void copyColumns(QImage& to, int column, const QImage& from)
{
    for (int row = 0; row < from.height(); ++row) {
        std::memcpy(
            to.scanLine(row) + sizeof(QRgb) * static_cast<std::size_t>(column),
            from.constScanLine(row), sizeof(QRgb) * static_cast<std::size_t>(from.width()));
    }
}

// What moves a picture along one axis from an old view into a new one.
struct Motion
{
    Motion(const Scale& from, const Scale& to)
    {
        constexpr double most = 200; // times larger or smaller nothing can be made out
        constexpr double rounding = 1e-6;
        const double lower = to.pixel(from.lower);
        factor = (to.pixel(from.upper) - lower) / (from.upperPixel - from.lowerPixel);
        factor = qAbs(factor - 1) < rounding ? 1 : factor;
        shift = lower - factor * from.lowerPixel;
        isUseful = from.isLogarithmic == to.isLogarithmic && factor > 1 / most && factor < most;
    }

    double factor;
    double shift;
    bool isUseful;
};

} // namespace

struct LiveChart::Job
{
    struct Stripe
    {
        std::size_t stack = 0;
        int first = 0;
        int width = 0;
        QImage image = {};
        std::atomic<bool> isDone{false};
    };

    Job(const Scene& toPaint, std::vector<std::vector<Curve>> withCurves)
        : scene(toPaint)
        , curves(std::move(withCurves))
        , perStack((scene.view.size.width() + StripeWidth - 1) / StripeWidth)
        , stripes(curves.size() * static_cast<std::size_t>(perStack))
        , left(stripes.size())
    {
        for (std::size_t i = 0; i < stripes.size(); ++i) {
            stripes[i].stack = i / static_cast<std::size_t>(perStack);
            stripes[i].first = static_cast<int>(i) % perStack * StripeWidth;
            stripes[i].width = qMin(StripeWidth, scene.view.size.width() - stripes[i].first);
        }
        age.start();
    }

    void paint() // for each worker
    {
        for (std::size_t i = next++; i < stripes.size() && !cancelled; i = next++) {
            Stripe& stripe = stripes[i];
            try {
                stripe.image =
                    render(scene.view, curves[stripe.stack], stripe.first, stripe.width, cancelled);
            } catch (const std::bad_alloc&) {
                stripe.image = QImage(); // a gap
            }
            stripe.isDone = true;
            --left;
        }
    }

    Scene scene;
    std::vector<std::vector<Curve>> curves; // of each stack
    int perStack;
    std::vector<Stripe> stripes;
    std::atomic<std::size_t> next{0};
    std::atomic<std::size_t> left;
    std::atomic<bool> cancelled{false};
    QElapsedTimer age;
};

LiveChart::LiveChart(QCustomPlot* customPlot)
    : QObject(customPlot)
    , plot(customPlot)
    , pacer([customPlot] { customPlot->replot(QCustomPlot::rpRefreshHint); }, this)
    , moves([this] { moveOn(); }, this)
{
    headroom.reserve(HeadroomSize);
    connect(plot, &QCustomPlot::beforeReplot, this, [this] {
        isReplotting = true;
        isPrepared = false;
    });
    connect(plot, &QCustomPlot::afterReplot, this, [this] {
        isReplotting = false;
        isRequested = false;
        pacer.painted();
    });
    plot->installEventFilter(this);
    poll.setInterval(PollMs);
    connect(&poll, &QTimer::timeout, this, [this] {
        if (job && (job->left == 0 || job->age.elapsed() > LongJobMs)) {
            requestReplot();
        }
    });
    for (unsigned i = 0; i < qMax(1U, std::thread::hardware_concurrency()); ++i) {
        workers.emplace_back([this] { work(); });
    }
}

LiveChart::~LiveChart()
{
    setJob(nullptr, -1);
    for (std::thread& worker : workers) {
        worker.join();
    }
}

void LiveChart::work()
{
    setpriority(PRIO_PROCESS, 0, WorkerNiceness); // of this thread: the session goes first
    std::unique_lock lock(mutex);
    for (int last = 0; jobNumber >= 0;) {
        const std::shared_ptr<Job> mine = job;
        if (!mine || jobNumber == last) {
            changed.wait(lock);
            continue;
        }
        last = jobNumber;
        lock.unlock();
        mine->paint();
        lock.lock();
        changed.notify_all();
    }
}

Graph* LiveChart::addGraph(int channel)
{
    auto* graph = new Graph(this, channel);
    graph->removeFromLegend();
    return graph;
}

void LiveChart::addRecord(double key, const std::vector<int>& values, int first)
{
    if (isFull) {
        return;
    }
    try {
        const int count = qMin(static_cast<int>(values.size()), plot->graphCount() - first);
        const int inRecord = first == 0 ? qMin(count, channels) : 0;
        row.assign(values.begin(), values.begin() + inRecord);
        if (inRecord > 0) {
            noteChange(history.add(key, row.data(), inRecord));
        }
        for (int i = 0; i < count; ++i) {
            const int number = first + i;
            if (i >= inRecord || static_cast<Graph*>(plot->graph(number))->hasOwnPoints()) {
                addPoint(number, key, values[static_cast<std::size_t>(i)]);
            }
        }
    } catch (const std::bad_alloc&) {
        // The log goes on without the chart.
        isFull = true;
        headroom = std::vector<double>();
        std::fprintf(stderr, "chart: out of memory, stopped at the record of %.3f s\n", key);
    }
}

void LiveChart::addPoint(int number, double key, double value)
{
    if (auto* graph = qobject_cast<Graph*>(plot->graph(number))) {
        graph->addPoint(key, value);
    } else {
        plot->graph(number)->addData(key, value);
        noteChange({key, key});
    }
}

bool LiveChart::hasNews() const
{
    const QCPRange view = plot->xAxis->range();
    bool shows = false;
    for (int i = 0; i < plot->graphCount() && !shows; ++i) {
        shows = plot->graph(i)->visible();
    }
    return shows && changes.lowest <= view.upper && changes.highest >= view.lower;
}

bool LiveChart::paint(const Graph* graph, QCPPainter* painter)
{
    if (!isReplotting || painter->modes() & (QCPPainter::pmVectorized | QCPPainter::pmNoCaching)) {
        return false; // an export
    }
    if (!isPrepared) {
        isPrepared = true;
        prepare(painter->device()->devicePixelRatioF());
    }
    for (std::size_t i = 0; i < wanted.stacks.size(); ++i) {
        for (const auto& member : wanted.stacks[i]) {
            if (member.first == graph) {
                if (graph == wanted.stacks[i].front().first) {
                    draw(i, painter);
                }
                return true;
            }
        }
    }
    return false;
}

Scene LiveChart::emptyScene(double pixelRatio) const
{
    // The plot lets graphs paint one pixel higher than the axis rect.
    const QRect area = plot->axisRect()->rect().translated(0, -1);
    // Half a pixel: the plot's painters put the middle of an antialiased line there.
    const auto scale = [pixelRatio](const QCPAxis& axis, double origin) {
        const QCPRange range = axis.range();
        const auto pixel = [&](double coordinate) {
            return (axis.coordToPixel(coordinate) + 0.5 - origin) * pixelRatio;
        };
        const bool isLogarithmic = axis.scaleType() == QCPAxis::stLogarithmic;
        return Scale{
            range.lower, range.upper, pixel(range.lower), pixel(range.upper), isLogarithmic};
    };
    const QSize size(qCeil(area.width() * pixelRatio), qCeil(area.height() * pixelRatio));
    return {
        pixelRatio,
        area,
        {size, scale(*plot->xAxis, area.left()), scale(*plot->yAxis, area.top())},
        {}};
}

Scene LiveChart::currentScene(double pixelRatio) const
{
    Scene scene = emptyScene(pixelRatio);
    int graphs = plot->graphCount();
    for (int i = 0; i < plot->layerCount(); ++i) {
        bool isOpen = false;
        for (const QCPLayerable* child : plot->layer(i)->children()) {
            if (graphs == 0) {
                return scene; // behind the graphs there may be thousands of tags
            }
            const auto* anyGraph = qobject_cast<const QCPGraph*>(child);
            const auto* graph = qobject_cast<const Graph*>(anyGraph);
            graphs -= anyGraph ? 1 : 0;
            if (!child->realVisibility()) {
                continue;
            }
            if (!graph || !graph->isPlainLine()) {
                isOpen = false;
                continue;
            }
            graph->absorb();
            if (!isOpen) {
                scene.stacks.emplace_back();
                isOpen = true;
            }
            QPen pen = graph->linePen();
            // The library draws a line of width 1 as thin as the device can.
            const bool isThin = pen.isCosmetic() || qFuzzyCompare(pen.widthF(), 1.0);
            pen.setWidthF(qMax(1.0, pen.widthF() * (isThin ? 1 : pixelRatio)));
            scene.stacks.back().emplace_back(graph, pen);
        }
    }
    return scene;
}

void LiveChart::prepare(double pixelRatio)
{
    wanted = currentScene(pixelRatio);
    if (job && job->left == 0) {
        adopt();
    }
    if (job && !(wanted == job->scene) && job->age.elapsed() > LongJobMs) {
        setJob(nullptr, jobNumber);
    }
    if (!job && (!(wanted == pictured) || !update())) {
        start();
    }
}

void LiveChart::start()
{
    try {
        const Series records = history.snapshot(0);
        std::vector<std::vector<Curve>> curves;
        for (const Scene::Stack& stack : wanted.stacks) {
            curves.emplace_back();
            for (const auto& [graph, pen] : stack) {
                curves.back().push_back({graph->snapshot(records), pen});
            }
        }
        setJob(std::make_shared<Job>(wanted, std::move(curves)), jobNumber + 1);
    } catch (const std::bad_alloc&) {
        return; // the picture that there is has to do
    }
    changes = Span();
    poll.start();
}

// A job that is left is given up.
void LiveChart::setJob(std::shared_ptr<Job> next, int number)
{
    const std::lock_guard lock(mutex);
    if (job) {
        job->cancelled = true;
    }
    job = std::move(next);
    jobNumber = number;
    changed.notify_all();
}

void LiveChart::adopt()
{
    pictured = job->scene;
    pictures.assign(
        pictured.stacks.size(), QImage(pictured.view.size, QImage::Format_ARGB32_Premultiplied));
    for (const Job::Stripe& stripe : job->stripes) {
        copyColumns(pictures[stripe.stack], stripe.first, stripe.image);
    }
    setJob(nullptr, jobNumber);
    poll.stop();
}

// Paints the columns of what came since the picture. False if they are many.
bool LiveChart::update()
{
    static const std::atomic<bool> never{false};
    const View& view = wanted.view;
    double reach = 3;
    for (const Scene::Stack& stack : wanted.stacks) {
        for (const auto& member : stack) {
            reach = qMax(reach, 3 + member.second.widthF());
        }
    }
    const double one = view.keys.pixel(changes.lowest);
    const double other = view.keys.pixel(changes.highest);
    const double most = view.size.width();
    const int first = qFloor(qBound(0.0, qMin(one, other) - reach, most));
    const int count = qCeil(qBound(0.0, qMax(one, other) + reach, most)) - first;
    if (count > MostColumnsAtOnce || std::isnan(one + other)) {
        return changes.isEmpty();
    }
    for (std::size_t i = 0; i < wanted.stacks.size() && !changes.isEmpty() && count > 0; ++i) {
        std::vector<Curve> curves;
        for (const auto& [graph, pen] : wanted.stacks[i]) {
            curves.push_back({graph->series(), pen});
        }
        copyColumns(pictures[i], first, render(view, curves, first, count, never));
    }
    changes = Span();
    return true;
}

void LiveChart::draw(std::size_t stack, QCPPainter* painter) const
{
    painter->save();
    painter->setAntialiasing(false); // which takes back a shift by half a pixel
    painter->translate(wanted.area.topLeft());
    painter->scale(1 / wanted.pixelRatio, 1 / wanted.pixelRatio);
    if (job && job->scene == wanted) {
        QRegion rest(QRect(QPoint(), wanted.view.size));
        for (const Job::Stripe& stripe : job->stripes) {
            if (stripe.stack == stack && stripe.isDone) {
                painter->drawImage(stripe.first, 0, stripe.image);
                rest -= QRect(QPoint(stripe.first, 0), stripe.image.size());
            }
        }
        painter->setClipRegion(rest, Qt::IntersectClip);
    }
    if (stack < pictures.size()) {
        const Motion keys(pictured.view.keys, wanted.view.keys);
        const Motion values(pictured.view.values, wanted.view.values);
        if (keys.isUseful && values.isUseful) {
            painter->translate(keys.shift, values.shift);
            painter->scale(keys.factor, values.factor);
            painter->drawImage(0, 0, pictures[stack]);
        }
    }
    painter->restore();
}

// A mouse that drags may report a thousand times a second: the plot sees one move a frame.
bool LiveChart::holdsMove(const QMouseEvent& move)
{
    if (isMoving || move.buttons() == Qt::NoButton) {
        return false;
    }
    struct Copy : QMouseEvent // which may copy events in Qt 6, too
    {
        explicit Copy(const QMouseEvent& event)
            : QMouseEvent(event)
        {}
    };
    lastMove = std::make_unique<Copy>(move);
    moves.request();
    return true;
}

void LiveChart::moveOn()
{
    if (const auto move = std::move(lastMove)) {
        const QScopedValueRollback<bool> moving(isMoving, true);
        QCoreApplication::sendEvent(plot, move.get());
    }
}

// Whoever looks by other means than the screen does not look again: he gets the exact picture.
bool LiveChart::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::MouseMove && holdsMove(static_cast<QMouseEvent&>(*event))) {
        return true;
    }
    if (event->type() == QEvent::MouseButtonRelease) {
        moveOn();
    }
    const bool isExact = !job && !isRequested && changes.isEmpty();
    if (event->type() == QEvent::Paint && !isReplotting && !isExact) {
        const QPainter painter(plot);
        QBackingStore* const screen = plot->backingStore();
        if (!screen || painter.paintEngine()->paintDevice() != screen->paintDevice()) {
            do {
                std::unique_lock lock(mutex);
                changed.wait(lock, [this] { return !job || job->left == 0; });
                lock.unlock();
                plot->replot(QCustomPlot::rpQueuedRefresh);
            } while (job);
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace chart
