// SPDX-License-Identifier: GPL-3.0-or-later

// bench_workbench: what a record costs the window in plots after eight hours and in many value
// viewers, and how long a map of 64 by 64 holds it up.
#include "bench/benchmark.h"
#include "schema/link.pb.h"
#include "support/portrig.h"
#include "workbench/chartview.h"
#include "workbench/mainwindow.h"
#include "workbench/maptuning.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QApplication>
#include <QCheckBox>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMouseEvent>
#include <QTableWidget>
#include <QTimer>
#include <QtCharts/QChart>
#include <cmath>

namespace {

using namespace QtCharts;

constexpr int lineCount = 8;
constexpr int perHour = 36'000; // records at 10 Hz

std::vector<int> recordAt(int index, int channels)
{
    std::vector<int> values(static_cast<std::size_t>(channels));
    for (int channel = 0; channel < channels; ++channel) {
        const double wave = 400 * std::sin(index * 0.003 * (channel + 1));
        values[channel] = int(512 + wave) + index * 7919 * (channel + 1) % 60;
    }
    return values;
}

// Sleeps in the event loop for so long; what is to be painted is painted meanwhile.
void rest(int milliseconds = 12)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void rightClick(QWidget& widget)
{
    QMouseEvent press(
        QEvent::MouseButtonPress, QPointF(), Qt::RightButton, Qt::RightButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &press);
}

// Milliseconds of processor time for each of the next records. Every one is painted by itself.
template <typename Feed>
double costOfARecord(Feed feed)
{
    constexpr int records = 30;
    const double seconds = fastest([&] {
        for (int record = 0; record < records; ++record) {
            feed();
            rest();
        }
    });
    return seconds / records * 1e3;
}

// Gives the cost of a record after an hour, with all of it in view.
double measurePlots(Benchmark& bench)
{
    PlotViewer viewer;
    viewer.resize(1000, 600);
    viewer.show();
    int fed = 0;
    const auto feed = [&] {
        std::vector<int> values = recordAt(fed, lineCount);
        viewer.update(0, static_cast<unsigned int>(fed++) * 100, values);
    };
    feed();
    rightClick(viewer);
    for (QCheckBox* box : viewer.findChildren<QCheckBox*>()) {
        box->setChecked(true);
    }
    rightClick(viewer);
    QChart* chart = viewer.findChild<ChartView*>()->chart();
    chart->setAnimationOptions(QChart::SeriesAnimations); // as after any click
    auto* axisX = qobject_cast<QValueAxis*>(chart->axes(Qt::Horizontal).first());
    const auto showRecords = [&](int first, int last) {
        axisX->setRange(first / 10.0, last / 10.0);
        rest(3000); // long lines are painted piece by piece
    };
    double wholeInView = 0;
    const auto measure = [&](const QString& age, double most) {
        const double hidden = costOfARecord(feed);
        showRecords(fed - 1500, fed + 500);
        const double followed = costOfARecord(feed);
        showRecords(0, fed + 20'000);
        wholeInView = costOfARecord(feed);
        showRecords(0, 2'000);
        bench.atMost("8 lines, " + age + ", beyond the view", hidden, most, "ms a record");
        bench.atMost("8 lines, " + age + ", last 200 s in view", followed, most, "ms a record");
        bench.atMost("8 lines, " + age + ", all in view", wholeInView, most, "ms a record");
        return followed;
    };
    while (fed < perHour) {
        feed();
    }
    const double early = measure("1 hour", 5);
    const double wholeHour = wholeInView;
    while (fed < 8 * perHour) {
        feed();
    }
    const double late = measure("8 hours", 5);
    bench.atMost("8 hours against 1 hour", late / early, 2, "times");
    return wholeHour;
}

// The plain way: Qt draws the lines, each new point by append.
void comparePlots(Benchmark& bench, double ours)
{
    QChart* chart = new QChart;
    ChartView view(chart);
    view.setRenderHint(QPainter::Antialiasing);
    view.resize(1000, 600);
    auto* axisX = new QValueAxis;
    axisX->setRange(0, perHour / 10.0 + 200);
    chart->addAxis(axisX, Qt::AlignBottom);
    view.show();
    std::vector<QLineSeries*> lines;
    for (int line = 0; line < lineCount; ++line) {
        QVector<QPointF> points;
        for (int index = 0; index < perHour; ++index) {
            points << QPointF(index / 10.0, recordAt(index, line + 1).back());
        }
        lines.push_back(new QLineSeries);
        chart->addSeries(lines.back());
        lines.back()->attachAxis(axisX);
        lines.back()->replace(points);
    }
    rest();
    int fed = perHour;
    const double seconds = fastest([&] {
        const std::vector<int> values = recordAt(fed, lineCount);
        for (int line = 0; line < lineCount; ++line) {
            lines[line]->append(fed / 10.0, values[line]);
        }
        ++fed;
        rest();
    });
    bench.compare(
        "record on 8 plots of an hour in view", "ms", ours, {{naiveRoad, seconds * 1e3}}, 5);
}

void measureValues(Benchmark& bench)
{
    constexpr int viewers = 10;
    MainWindow window;
    window.resize(1920, 1080);
    window.show();
    auto* area = window.findChild<QMdiArea*>();
    std::vector<ValueViewer*> all;
    for (int index = 0; index < viewers; ++index) {
        all.push_back(new ValueViewer);
        QMdiSubWindow* frame = area->addSubWindow(all.back());
        all.back()->show();
        frame->setGeometry(190 * index, 0, 189, 3500); // side by side, 40 rows of each in view
    }
    int fed = 0;
    const auto feed = [&] {
        std::vector<int> values = recordAt(++fed, 128);
        for (ValueViewer* viewer : all) {
            viewer->update(static_cast<unsigned int>(fed), fed * 100U, values);
        }
    };
    feed();
    rest();
    const double cost = costOfARecord(feed); // 10 Hz: a tenth of it is the share in percent
    bench.atMost("10 value viewers of 128 rows at 10 Hz", cost, 10, "% of the GUI thread");
}

void measureMaps(Benchmark& bench)
{
    simulator::ControllerOptions options;
    options.maps = {{64, 64}};
    PortRig rig(options, PortRig::Lives::InOwnThread);
    rig.plug();
    MainWindow window;
    window.resize(1200, 800);
    window.show();
    const auto choose = [&](const char* name) {
        auto* menu = window.findChild<QMenu*>(name);
        do {
            rest();
            emit menu->aboutToShow();
        } while (menu->actions().isEmpty());
        menu->actions().first()->trigger();
    };
    const auto edits = [&] {
        return rig.count(xcu::Command::kMapTunerSetMapLabel) +
               rig.count(xcu::Command::kMapTunerSetMapValue);
    };
    constexpr int cells = 64 * 64;
    choose("menuConnection");
    QElapsedTimer clock;
    choose("menuMap_Tuning");
    clock.start();
    while (edits() < cells + 128) {
        rest();
    }
    bench.atMost("map of 64 by 64, opened and echoed", double(clock.elapsed()), 1000, "ms");

    auto* table = window.findChild<QTableWidget*>("mapValues");
    table->setRangeSelected({1, 1, 64, 64}, true);
    rest();
    clock.start();
    window.findChild<MapTuning*>()->mapValues_increaseValues();
    bench.atMost("4,096 cells stepped", double(clock.elapsed()), 200, "ms");
}

} // namespace

int main(int argc, char* argv[])
{
    needPreload(argv);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication application(argc, argv);
    Benchmark bench;
    comparePlots(bench, measurePlots(bench));
    measureValues(bench);
    measureMaps(bench);
    return bench.exitCode();
}
