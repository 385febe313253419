// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/curvepicture.h"

#include "chart/graph.h"
#include "platform/threadpriority.h"

#include <QtMath>
#include <deque>
#include <future>

namespace chart {

namespace {

constexpr int PollMs = 5;
constexpr int StripeWidth = 64;       // columns that a worker paints in one go
constexpr int MostColumnsAtOnce = 64; // that are painted on the GUI thread

// A job that is older shows what it has so far, and is given up if the view changes. A younger one
// ends soon, and fills the gaps of a view that keeps moving.
constexpr int LongJobMs = 100;

// Some columns of a picture, as a picture that shares its memory.
QImage columnsOf(uchar* bits, const QImage& picture, int first, int count)
{
    return {
        bits + sizeof(QRgb) * static_cast<std::size_t>(first), count, picture.height(),
        picture.bytesPerLine(), picture.format()};
}

} // namespace

struct CurvePicture::Job
{
    explicit Job(const Scene& wanted)
        : scene(wanted)
        , picture(wanted.size, QImage::Format_ARGB32_Premultiplied)
        , bits(picture.bits())
        , curves(wanted.curves)
        , isDone(static_cast<std::size_t>((picture.width() + StripeWidth - 1) / StripeWidth))
    {
        if (picture.isNull()) {
            throw std::bad_alloc();
        }
        const History* original = nullptr;
        for (Curve& curve : curves) {
            if (curve.history != original) {
                original = curve.history;
                copies.push_back(*original);
            }
            curve.history = &copies.back();
        }
        age.start();
        const std::size_t cores = qMax(1U, std::thread::hardware_concurrency());
        try {
            while (workers.size() < qMin(cores, isDone.size())) {
                workers.push_back(std::async(std::launch::async, [this] { paint(); }));
            }
        } catch (const std::system_error&) {
            if (workers.empty()) {
                throw; // else one does
            }
        }
    }

    ~Job() { isCancelled = true; }

    void paint() // in each worker
    {
        platform::yieldToOtherThreads(); // the session goes first
        for (std::size_t i = next++; i < isDone.size() && !isCancelled; i = next++) {
            const QRect place = stripe(i);
            QImage columns = columnsOf(bits, picture, place.x(), place.width());
            render(scene, curves, place.x(), columns, isCancelled);
            isDone[i] = !isCancelled;
        }
    }

    QRect stripe(std::size_t i) const
    {
        const QRect place(static_cast<int>(i) * StripeWidth, 0, StripeWidth, picture.height());
        return place & picture.rect();
    }

    bool isComplete() const
    {
        return std::all_of(
            isDone.begin(), isDone.end(), [](const auto& done) { return done.load(); });
    }

    bool isFinished() const // complete, given up or out of memory
    {
        return std::all_of(workers.begin(), workers.end(), [](const auto& worker) {
            return worker.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        });
    }

    Scene scene;
    QImage picture;
    uchar* bits;                           // of the picture
    std::deque<History> copies;            // of what the curves are in
    std::vector<Curve> curves;             // of the scene, in the copies
    std::vector<std::atomic<bool>> isDone; // by stripe; true for good
    std::atomic<std::size_t> next{0};
    std::atomic<bool> isCancelled{false};
    QElapsedTimer age;
    std::vector<std::future<void>> workers; // the first to go, which waits for them
};

CurvePicture::CurvePicture(QCustomPlot* plot)
    : QCPLayerable(plot)
{
    connect(plot, &QCustomPlot::beforeReplot, this, [this] { isReplotting = true; });
    connect(plot, &QCustomPlot::afterReplot, this, [this] { isReplotting = false; });
    poll.setInterval(PollMs);
    connect(&poll, &QTimer::timeout, this, [this] {
        const bool isFinished = job->isFinished();
        if (isFinished) {
            poll.stop(); // whether or not a replot takes the picture: its layer may be hidden
        }
        if (isFinished || job->age.hasExpired(LongJobMs)) {
            emit improved();
        }
    });
}

CurvePicture::~CurvePicture() = default;

bool CurvePicture::hasNews() const
{
    const QCPRange view = mParentPlot->xAxis->range();
    bool shows = false;
    for (int i = 0; i < mParentPlot->graphCount() && !shows; ++i) {
        shows = mParentPlot->graph(i)->visible();
    }
    return shows && changes.lowest <= view.upper && changes.highest >= view.lower;
}

void CurvePicture::makeExact()
{
    const Scene wanted = currentScene(mParentPlot->bufferDevicePixelRatio());
    // The job of an earlier view, the right one, and taking its picture. Not for ever: workers may
    // run out of memory.
    for (int step = 0; step < 3; ++step) {
        prepare(wanted);
        for (std::size_t i = 0; job && i < job->workers.size(); ++i) {
            job->workers[i].wait();
        }
    }
}

// An antialiasing painter of the plot is shifted by half a pixel, which would blur a picture.
void CurvePicture::applyDefaultAntialiasingHint(QCPPainter* painter) const
{
    painter->setAntialiasing(false);
}

QRect CurvePicture::area() const
{
    // The plot lets graphs paint one pixel higher than the axis rect.
    return mParentPlot->axisRect()->rect().translated(0, -1);
}

Scene CurvePicture::currentScene(double pixelRatio) const
{
    // Half a pixel: the plot's painters put the middle of an antialiased line there.
    const auto scale = [](const QCPAxis& axis, double origin) {
        const QCPRange range = axis.range();
        const auto pixel = [&](double coordinate) {
            return axis.coordToPixel(coordinate) + 0.5 - origin;
        };
        const bool isLogarithmic = axis.scaleType() == QCPAxis::stLogarithmic;
        return Scale{
            range.lower, range.upper, pixel(range.lower), pixel(range.upper), isLogarithmic};
    };
    const QSizeF size = QSizeF(area().size()) * pixelRatio;
    Scene scene{
        QSize(qCeil(size.width()), qCeil(size.height())),
        pixelRatio,
        scale(*mParentPlot->xAxis, area().left()),
        scale(*mParentPlot->yAxis, area().top()),
        {}};
    for (int i = 0; i < mParentPlot->graphCount(); ++i) {
        const auto* graph = qobject_cast<const Graph*>(mParentPlot->graph(i));
        if (graph && graph->isPartOf(this) && graph->realVisibility() && graph->isPlainLine() &&
            graph->dataCount() > 0) { // of loaded signals most draw nothing
            scene.curves.push_back(graph->curve());
        }
    }
    return scene;
}

void CurvePicture::draw(QCPPainter* painter)
{
    if (!isReplotting) {
        return;
    }
    const double pixelRatio = painter->device()->devicePixelRatioF();
    const Scene wanted = currentScene(pixelRatio);
    prepare(wanted);
    painter->save();
    painter->translate(area().topLeft());
    painter->scale(1 / pixelRatio, 1 / pixelRatio);
    if (job && job->scene == wanted) {
        QRegion rest(job->picture.rect());
        for (std::size_t i = 0; i < job->isDone.size(); ++i) {
            if (job->isDone[i]) {
                painter->drawImage(job->stripe(i), job->picture, job->stripe(i));
                rest -= job->stripe(i);
            }
        }
        painter->setClipRegion(rest, Qt::IntersectClip);
    }
    // Where the picture lies in the view as it is now.
    const auto place = [&](int x, int y) {
        const QPointF old = QPointF(x, y) / pictured.pixelRatio;
        return pixelRatio * QPointF(
                                wanted.keys.pixel(pictured.keys.coordinate(old.x())),
                                wanted.values.pixel(pictured.values.coordinate(old.y())));
    };
    const QRectF target(place(0, 0), place(picture.width(), picture.height()));
    const QSizeF most = 200.0 * picture.size(); // larger, nothing can be made out
    if (target.isValid() && target.intersects(QRectF(QPointF(), wanted.size)) &&
        target.width() < most.width() && target.height() < most.height()) {
        painter->drawImage(target.toRect(), picture);
    }
    painter->restore();
}

void CurvePicture::prepare(const Scene& wanted)
{
    if (job && job->isFinished()) {
        if (job->isComplete()) {
            pictured = job->scene;
            picture = job->picture;
        } else {
            changes = {-Infinite, Infinite}; // what it took over is in no picture
        }
        job.reset();
        poll.stop();
    }
    if (job && job->age.hasExpired(LongJobMs) && !(job->scene == wanted)) {
        job->isCancelled = true;
    }
    if (!job && !(wanted == pictured && update(wanted))) {
        start(wanted);
    }
}

// Paints the columns of what came since the picture. False if they are many.
bool CurvePicture::update(const Scene& wanted)
{
    if (changes.isEmpty()) {
        return true;
    }
    double reach = 0;
    for (const Curve& curve : wanted.curves) {
        reach = qMax(reach, curve.reach());
    }
    const auto column = [&](double pixel) {
        return qBound(0.0, pixel * wanted.pixelRatio, double(picture.width()));
    };
    const double one = wanted.keys.pixel(changes.lowest);
    const double other = wanted.keys.pixel(changes.highest);
    const int first = qFloor(column(qMin(one, other) - reach));
    const int count = qCeil(column(qMax(one, other) + reach)) - first;
    if (count > MostColumnsAtOnce || std::isnan(one + other)) {
        return false;
    }
    if (count > 0) {
        static const std::atomic<bool> never{false};
        QImage columns = columnsOf(picture.bits(), picture, first, count);
        render(wanted, wanted.curves, first, columns, never);
    }
    changes = Span();
    return true;
}

void CurvePicture::start(const Scene& wanted)
{
    try {
        job = std::make_unique<Job>(wanted);
    } catch (const std::exception&) {
        return; // out of memory or threads: the picture that there is has to do
    }
    changes = Span();
    poll.start();
}

} // namespace chart
