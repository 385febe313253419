// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/curvepicture.h"

#include "platform/threadpriority.h"

#include <QThreadPool>
#include <QtMath>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace chart {

// The chart relies on how this version lays out its buffers, where it paints the middle of a line
// and which curves it thins out. Look at all three before you allow another one.
static_assert(QCUSTOMPLOT_VERSION == 0x020100, "the chart is made for QCustomPlot 2.1.0");

namespace {

constexpr int StripeWidth = 64; // columns that a worker, or the GUI thread, paints in one go

constexpr int LongJobMs = 100; // a job of a view that has gone may take; then it is given up

// The plot lets graphs paint one pixel higher than the axis rect.
QRect areaOf(const QCustomPlot& plot)
{
    return plot.axisRect()->rect().translated(0, -1);
}

// The scene that the axes give in a part of the plot, without curves.
Scene viewOf(const QCustomPlot& plot, const QRect& part, double pixelRatio)
{
    // Half a pixel: the plot's painters put the middle of an antialiased line there.
    const auto scale = [](const QCPAxis& axis, double origin) {
        const QCPRange range = axis.range();
        const auto pixel = [&](double key) { return axis.coordToPixel(key) + 0.5 - origin; };
        return Scale{range.lower, range.upper, pixel(range.lower), pixel(range.upper)};
    };
    const QSize size(qCeil(part.width() * pixelRatio), qCeil(part.height() * pixelRatio));
    return {size, pixelRatio, scale(*plot.xAxis, part.left()), scale(*plot.yAxis, part.top()), {}};
}

} // namespace

// Paints in worker threads, in stripes, from copies of the histories. Nobody waits for it to end:
// the workers keep it until they have noticed that it was cancelled.
struct CurvePicture::Job
{
    explicit Job(const CurvePicture& owner)
        : scene(owner.scene)
        , picture(scene.size, QImage::Format_ARGB32_Premultiplied)
        , bits(q_check_ptr(picture.bits()))
        , curves(scene.curves)
        , isDone((picture.width() + StripeWidth - 1) / StripeWidth)
        , listener(owner.plot)
    {
        const History* original = nullptr;
        for (Curve& curve : curves) {
            if (curve.history != original) {
                original = curve.history;
                copies.push_back(*original);
            }
            curve.history = &copies.back();
        }
        age.start();
    }

    void paint() // in each thread
    {
        for (int i = next++; i < int(isDone.size()); i = next++) {
            try {
                render(scene, curves, stripe(i).x(), stripe(i).width(), bits, isCancelled);
                isDone[i] = !isCancelled;
            } catch (const std::bad_alloc&) {
                isCancelled = true; // what is missing is tried again
            }
            const std::lock_guard<std::mutex> lock(mutex);
            ++ended;
            stripeEnded.notify_all();
            if (listener) {
                QMetaObject::invokeMethod(listener, "paintSoon", Qt::QueuedConnection);
            }
        }
    }

    void paintToTheEnd() // in the GUI thread
    {
        paint();
        std::unique_lock<std::mutex> lock(mutex);
        stripeEnded.wait(lock, [this] { return isFinished(); });
    }

    void cancel()
    {
        isCancelled = true;
        const std::lock_guard<std::mutex> lock(mutex);
        listener = nullptr; // which may be gone soon
    }

    bool isFinished() const { return ended == int(isDone.size()); } // or out of memory

    QRect stripe(int i) const
    {
        return QRect(i * StripeWidth, 0, StripeWidth, picture.height()) & picture.rect();
    }

    const Scene scene;
    QImage picture;
    uchar* const bits;                     // of the picture
    std::deque<History> copies;            // of what the curves are in
    std::vector<Curve> curves;             // of the scene, in the copies
    std::vector<std::atomic<bool>> isDone; // by stripe; true for good
    std::atomic<int> next{0};
    std::atomic<int> ended{0}; // stripes, painted or given up
    std::atomic<bool> isCancelled{false};
    QElapsedTimer age;

    std::mutex mutex; // of the listener, and of the ends that are waited for
    std::condition_variable stripeEnded;
    QObject* listener;
};

CurvePicture::CurvePicture(QCustomPlot* ofPlot)
    : QCPAbstractPaintBuffer(ofPlot->size(), ofPlot->bufferDevicePixelRatio())
    , plot(ofPlot)
{}

QCPPainter* CurvePicture::startPainting()
{
    area = areaOf(*plot);
    scene = viewOf(*plot, area, mDevicePixelRatio);
    return new QCPPainter(&blank);
}

void CurvePicture::take(const Curve& curve, QCPPainter* painter)
{
    if (painter->device() == &blank) {
        scene.curves.push_back(curve);
        return;
    }
    const QRect place = areaOf(*plot);
    const double ratio = painter->transform().m11();
    const QImage image = imageOf(curve, place, ratio);
    painter->setAntialiasing(false); // with which the plot shifts its painters by half a pixel
    painter->drawImage(QRect(place.topLeft(), image.size() / ratio), image);
}

QImage CurvePicture::imageOf(Curve curve, const QRect& part, double pixelRatio) const
{
    const Scene view = viewOf(*plot, part, pixelRatio);
    curve.isDense = isDense(curve, view.keys);
    QImage image(view.size, QImage::Format_ARGB32_Premultiplied);
    render(view, {curve}, 0, view.size.width(), image.bits(), false);
    return image;
}

void CurvePicture::draw(QCPPainter* painter) const
{
    if (picture.isNull()) {
        return;
    }
    painter->save();
    painter->setClipRect(area, Qt::IntersectClip);
    painter->translate(area.topLeft());
    painter->scale(1 / scene.pixelRatio, 1 / scene.pixelRatio);
    if (stripesShown > 0 && job && job->scene == scene) {
        const QRect done = job->stripe(0) | job->stripe(stripesShown - 1);
        painter->drawImage(done, job->picture, done);
        const QRect rest = job->picture.rect().adjusted(done.width(), 0, 0, 0);
        painter->setClipRect(rest, Qt::IntersectClip);
    }
    // Where the picture lies in the view as it is now.
    const auto place = [&](int x, int y) {
        const QPointF old = QPointF(x, y) / pictured.pixelRatio;
        const double left = scene.keys.pixel(pictured.keys.coordinate(old.x()));
        const double top = scene.values.pixel(pictured.values.coordinate(old.y()));
        return scene.pixelRatio * QPointF(left, top);
    };
    const QRectF target(place(0, 0), place(picture.width(), picture.height()));
    constexpr int most = 200; // times as large; then nothing can be made out
    if (target.isValid() && target.intersects(QRectF(QPointF(), scene.size)) &&
        target.width() < most * picture.width() && target.height() < most * picture.height()) {
        painter->drawImage(target.toRect(), picture);
    }
    painter->restore();
}

void CurvePicture::add(
    History& history, double key, const double* values, int firstChannel, int width)
{
    for (int channel = firstChannel; channel < firstChannel + width; ++channel) {
        if (history.count(channel) == 0) {
            setInvalidated(); // the scene has no curves without points
        }
    }
    changes.unite(history.add(key, values, firstChannel, width));
}

QRect CurvePicture::refresh()
{
    for (Curve& curve : scene.curves) {
        curve.isDense = curve.isDense || isDense(curve, scene.keys);
    }
    const QRect changed = job ? takeFromJob() : QRect();
    return job ? changed : changed | paintChanges();
}

void CurvePicture::makeExact()
{
    // A job may be of an earlier view, or lack what came since. Not for ever: memory may be short.
    for (int i = 0; i < 3; ++i) {
        refresh();
        if (job && job->scene == scene) {
            job->paintToTheEnd();
        } else {
            dropJob();
        }
    }
}

// Gives the part of the plot where there is more to show.
QRect CurvePicture::takeFromJob()
{
    const bool isWanted = job->scene == scene;
    const bool isFinished = job->isFinished();
    QRect changed;
    while (isWanted && stripesShown < int(job->isDone.size()) && job->isDone[stripesShown]) {
        changed |= inPlot(job->stripe(stripesShown++));
    }
    if (isFinished && !job->isCancelled) {
        pictured = job->scene;
        picture = std::move(job->picture);
        job.reset();
        return isWanted ? changed : area;
    }
    if (isFinished || (!isWanted && job->age.hasExpired(LongJobMs))) {
        dropJob();
    }
    return changed;
}

// Paints the columns of what came since the picture, or has all painted if they are many.
QRect CurvePicture::paintChanges()
{
    double reach = 0;
    for (const Curve& curve : scene.curves) {
        reach = qMax(reach, curve.reach());
    }
    const auto column = [&](double pixel) {
        return qBound(0.0, pixel * scene.pixelRatio, double(scene.size.width()));
    };
    const int first = qFloor(column(scene.keys.pixel(changes.lowest) - reach));
    const int count = qCeil(column(scene.keys.pixel(changes.highest) + reach)) - first;
    if (!(pictured == scene) || count > StripeWidth) {
        startJob();
        return {};
    }
    changes = Span();
    if (count <= 0) {
        return {};
    }
    render(scene, scene.curves, first, count, picture.bits(), false);
    return inPlot(QRect(first, 0, count, picture.height()));
}

void CurvePicture::startJob()
{
    try {
        job = std::make_shared<Job>(*this);
    } catch (const std::bad_alloc&) {
        return; // the picture that there is has to do
    }
    changes = Span();
    stripesShown = 0;

    // A queue of our own, as ThreadSanitizer does not see how the pool's one orders things. Not
    // Qt's global pool: Qt's conversions of large images wait for a thread of that one.
    struct Queue
    {
        std::mutex mutex;
        std::deque<std::weak_ptr<Job>> jobs; // for each of the workers
    };
    static Queue& waiting = *new Queue; // not destroyed, whichever worker is the last
    static QThreadPool workers;
    const std::lock_guard<std::mutex> lock(waiting.mutex);
    for (int i = 0; i < workers.maxThreadCount(); ++i) {
        waiting.jobs.push_back(job);
        workers.start(QRunnable::create([] {
            platform::yieldToOtherThreads(); // the session goes first
            std::unique_lock<std::mutex> taking(waiting.mutex);
            const std::shared_ptr<Job> taken = waiting.jobs.front().lock();
            waiting.jobs.pop_front();
            taking.unlock();
            if (taken) {
                taken->paint();
            }
        }));
    }
}

void CurvePicture::dropJob()
{
    if (job) {
        job->cancel();
        job.reset();
        changes = {-Infinite, Infinite}; // what the job took over is in no picture
    }
}

// A pixel more to either side: with a broken pixel ratio columns begin within one.
QRect CurvePicture::inPlot(const QRect& columns) const
{
    const QRectF place(
        columns.x() / scene.pixelRatio, 0, columns.width() / scene.pixelRatio, area.height());
    return place.toAlignedRect().adjusted(-1, 0, 1, 0).translated(area.topLeft());
}

} // namespace chart
