// SPDX-License-Identifier: GPL-3.0-or-later

// bench_workbench: what a record costs the window in plots and in value viewers, and how long a map
// of 64 by 64 holds it up.
#include "bench/benchmark.h"
#include "support/connectedworkbench.h"
#include "workbench/chartview.h"
#include "workbench/maptuning.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QApplication>
#include <QCheckBox>
#include <QTableWidget>
#include <cmath>

namespace {

// Milliseconds of processor time for each of the next records. Every one is painted by itself. At
// 10 Hz that is also the share of the GUI thread in percent.
template <typename Viewer>
double costOfARecord(
    const QVector<Viewer*>& viewers, unsigned int& time, std::size_t channels, int records,
    int pauseMs = 0)
{
    const double start = secondsOn(processTime);
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
    return 1e3 * (secondsOn(processTime) - start) / records;
}

void measurePlots()
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
    atMost("8 curves, the first 10 s", cost(100, 100), 5, "ms a record");
    for (const unsigned int hours : {1, 8}) {
        axisX->setRange(0, 1);
        while (time < hours * 3'600'000) {
            cost(1000);
        }
        const QString age = QStringLiteral("8 curves, %1 h, ").arg(hours);
        atMost(age + "beyond the view", cost(100), 5, "ms a record");
        axisX->setRange(time / 1000 - 150, time / 1000 + 50);
        atMost(age + "last 200 s in view", cost(100), 5, "ms a record");
        axisX->setRange(0, time / 900);
        atMost(age + "all in view", cost(100), 5, "ms a record");
    }
}

// Side by side in one window, with some 40 rows of each in view.
void measureValues()
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
    atMost("10 value viewers of 128 rows at 10 Hz", share, 10, "% of the GUI thread");
}

// With the controller in the same thread.
void measureMaps()
{
    ConnectedWorkbench workbench;
    workbench.controller.maps()[0] = simulator::makeMaps({{64, 64}}, 1)[0];
    const auto runUntil = [](auto condition) {
        while (!condition()) {
            QCoreApplication::processEvents();
        }
    };
    runUntil([&] { return !workbench.entries("menuMap_Tuning").isEmpty(); });
    const double opening = secondsOf([&] {
        workbench.choose("menuMap_Tuning", "Map 0");
        runUntil([&] {
            return workbench.controller.count(xcu::Command::kMapTunerSetMapValue) == 64 * 64;
        });
    });
    atMost("map of 64 by 64, opened and echoed", 1e3 * opening, 1000, "ms");
    MainWindow& window = *workbench.window;
    window.findChild<QTableWidget*>("mapValues")->setRangeSelected({1, 1, 64, 64}, true);
    auto* editor = window.findChild<MapTuning*>();
    const double stepping = secondsOf([&] { editor->mapValues_increaseValues(); });
    atMost("4,096 cells stepped", 1e3 * stepping, 200, "ms");
}

} // namespace

int main(int argc, char* argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    measurePlots();
    measureValues();
    measureMaps();
    return exitCode();
}
