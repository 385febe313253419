// SPDX-License-Identifier: GPL-3.0-or-later

// bench_workbench: what a record costs the window in plots and in value viewers, and how long a map
// of 64 by 64 holds it up.
#include "bench/benchmark.h"
#include "bench/rigthread.h"
#include "schema/link.pb.h"
#include "workbench/chartview.h"
#include "workbench/mainwindow.h"
#include "workbench/maptuning.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QApplication>
#include <QCheckBox>
#include <QMenu>
#include <QTableWidget>
#include <QTest>
#include <cmath>

namespace {

// Milliseconds of processor time for each of the next records. Every one is painted by itself. At
// 10 Hz that is also the share of the GUI thread in percent.
template <typename Viewer>
double costOfARecord(
    const QVector<Viewer*>& viewers, unsigned int& time, std::size_t channels, int records,
    int pauseMs = 0)
{
    const double start = ownTime();
    for (int record = 0; record < records; ++record) {
        time += 100;
        std::vector<int> values(channels);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const double wave = 400 * std::sin(time * 0.00003 * double(channel + 1));
            values[channel] = int(512 + wave + time / 100 * 7919 * (channel + 1) % 60);
        }
        for (Viewer* viewer : viewers) {
            viewer->update(0, time, values);
        }
        QTest::qWait(pauseMs);
    }
    return 1e3 * (ownTime() - start) / records;
}

void measurePlots(Benchmark& bench)
{
    PlotViewer viewer;
    viewer.resize(1000, 600);
    viewer.show();
    unsigned int time = 0;
    const auto cost = [&](int records, int pauseMs = 0) {
        return costOfARecord<PlotViewer>({&viewer}, time, 8, records, pauseMs);
    };
    cost(1);
    QTest::mouseClick(&viewer, Qt::RightButton);
    for (QCheckBox* box : viewer.findChildren<QCheckBox*>()) {
        box->setChecked(true);
    }
    QTest::mouseClick(&viewer, Qt::RightButton);
    auto* view = viewer.findChild<ChartView*>();
    auto* axisX = qobject_cast<QValueAxis*>(view->chart()->axes(Qt::Horizontal).first());
    QTest::mouseClick(view->viewport(), Qt::LeftButton); // from now on the chart is animated
    bench.atMost("8 curves, the first 10 s", cost(100, 100), 5, "ms a record");
    for (const unsigned int hours : {1, 8}) {
        axisX->setRange(0, 1);
        while (time < hours * 3'600'000) {
            cost(1000);
        }
        const QString age = QStringLiteral("8 curves, %1 h, ").arg(hours);
        bench.atMost(age + "beyond the view", cost(100), 5, "ms a record");
        axisX->setRange(time / 1000 - 150, time / 1000 + 50);
        bench.atMost(age + "last 200 s in view", cost(100), 5, "ms a record");
        axisX->setRange(0, time / 900);
        bench.atMost(age + "all in view", cost(100), 5, "ms a record");
    }
}

// Side by side in one window, with some 40 rows of each in view.
void measureValues(Benchmark& bench)
{
    QWidget window;
    window.resize(1920, 1080);
    QVector<ValueViewer*> viewers;
    for (int index = 0; index < 10; ++index) {
        viewers << new ValueViewer(&window);
        viewers.last()->setGeometry(190 * index, 0, 189, 3500);
    }
    window.show();
    unsigned int time = 0;
    costOfARecord(viewers, time, 128, 1);
    const double share = costOfARecord(viewers, time, 128, 100);
    bench.atMost("10 value viewers of 128 rows at 10 Hz", share, 10, "% of the GUI thread");
}

void measureMaps(Benchmark& bench)
{
    simulator::ControllerOptions options;
    options.maps = {{64, 64}};
    RigThread rig(options);
    rig.plug();
    MainWindow window;
    window.show();
    const auto choose = [&](const char* name) {
        auto* menu = window.findChild<QMenu*>(name);
        do {
            QCoreApplication::processEvents();
            emit menu->aboutToShow();
        } while (menu->actions().isEmpty());
        menu->actions().first()->trigger();
    };
    choose("menuConnection");
    const double opened = realTime();
    choose("menuMap_Tuning");
    while (rig.count(xcu::Command::kMapTunerSetMapValue) < 64 * 64) {
        QCoreApplication::processEvents();
    }
    bench.atMost("map of 64 by 64, opened and echoed", 1e3 * (realTime() - opened), 1000, "ms");
    window.findChild<QTableWidget*>("mapValues")->setRangeSelected({1, 1, 64, 64}, true);
    const double stepped = realTime();
    window.findChild<MapTuning*>()->mapValues_increaseValues();
    bench.atMost("4,096 cells stepped", 1e3 * (realTime() - stepped), 200, "ms");
}

} // namespace

int main(int argc, char* argv[])
{
    needPreload(argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    Benchmark bench;
    measurePlots(bench);
    measureValues(bench);
    measureMaps(bench);
    return bench.exitCode();
}
