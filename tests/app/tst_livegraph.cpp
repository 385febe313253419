// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/livechart.h"
#include "app/livegraph.h"

#include <QtTest>
#include <algorithm>
#include <limits>
#include <random>

namespace {

QPixmap logo()
{
    QPixmap pixmap(40, 40);
    pixmap.fill(QColor(200, 30, 30, 100));
    return pixmap;
}

// A plot of stock graphs and one of live graphs, given the same.
class Twins
{
public:
    explicit Twins(double pixelRatio = 1)
    {
        both([&](QCustomPlot& plot) {
            plot.setBufferDevicePixelRatio(pixelRatio);
            plot.resize(260, 150);
            plot.xAxis->setRange(0, 60);
            plot.yAxis->setRange(0, 1024);
            plot.show();
        });
    }

    template <typename Change>
    void both(Change change)
    {
        change(stock);
        change(live);
    }

    void addGraphs(int count)
    {
        for (int i = 0; i < count; ++i) {
            stock.addGraph();
            chart->addGraph();
            const QPen pen(QColor::fromHsv(61 * stock.graphCount() % 360, 200, 160));
            both([&](QCustomPlot& plot) { plot.graph(plot.graphCount() - 1)->setPen(pen); });
        }
    }

    // Curves, a logo, and a curve above it: two stacks.
    void furnish()
    {
        addGraphs(3);
        both([](QCustomPlot& plot) {
            auto* item = new QCPItemPixmap(&plot);
            item->setPixmap(logo());
            item->topLeft->setType(QCPItemPosition::ptAxisRectRatio);
            item->topLeft->setCoords(0.4, 0.2);
        });
        addGraphs(2);
    }

    void addPoint(int graph, double key, double value)
    {
        stock.graph(graph)->addData(key, value);
        chart->addPoint(graph, key, value);
    }

    bool lookAlike()
    {
        both([](QCustomPlot& plot) { plot.replot(); });
        return stock.grab().toImage() == live.grab().toImage();
    }

    QCustomPlot stock;
    QCustomPlot live;
    LiveChart* chart = new LiveChart(&live);
};

// A session in which an operator does all that can be done to a chart. Random, the same each time.
class Drive
{
public:
    Drive(Twins& chartTwins, double recordPace, bool noisy)
        : twins(chartTwins)
        , pace(recordPace)
        , noise(noisy)
    {}

    // What was done.
    QString step()
    {
        const auto action = actions[below(int(std::size(actions)))];
        if (below(3) > 0) {
            records(1 + below(int(2 + 1.5 / pace)));
            return "records";
        }
        (this->*action.act)();
        return action.name;
    }

private:
    struct Action
    {
        const char* name;
        void (Drive::*act)();
    };

    int below(int limit) { return int(random() % unsigned(limit)); }
    bool maybe() { return below(2) == 0; }
    int graph() { return below(twins.stock.graphCount()); }
    double value() { return noise ? below(1400) - 200 : level += below(61) - 30; }

    void records(int count)
    {
        for (int i = 0; i < count; ++i) {
            time += pace * (50 + below(100)) / 100;
            const int values = below(9) > 0 ? 3 : 5;
            for (int channel = 0; channel < values; ++channel) {
                twins.addPoint(channel, float(time), value());
            }
        }
    }

    void change(int index, const std::function<void(QCPGraph*)>& change)
    {
        twins.both([&](QCustomPlot& plot) { change(plot.graph(index)); });
    }

    void hideOrShow()
    {
        const bool visible = maybe();
        change(graph(), [&](QCPGraph* graph) { graph->setVisible(visible); });
    }

    void select()
    {
        const QCPDataSelection selection(QCPDataRange(0, below(2)));
        change(graph(), [&](QCPGraph* graph) { graph->setSelection(selection); });
    }

    void changePen()
    {
        const QPen pen(QColor(0, 90, 200, maybe() ? 255 : 90), below(3));
        change(graph(), [&](QCPGraph* graph) { graph->setPen(pen); });
    }

    void pan()
    {
        const double lower = maybe() ? time - below(70) : below(20);
        twins.both([&](QCustomPlot& plot) { plot.xAxis->setRange(lower, lower + 60); });
    }

    void zoom()
    {
        const double lower = time - below(60);
        const double factor = 0.5 + below(100) / 80.0;
        twins.both([&](QCustomPlot& plot) {
            plot.xAxis->setRange(lower, lower + 60 * factor);
            plot.yAxis->setRange(512, 1024 * factor, Qt::AlignCenter);
        });
    }

    void resize()
    {
        const QSize size(200 + below(120), 120 + below(60));
        twins.both([&](QCustomPlot& plot) { plot.resize(size); });
    }

    void tag()
    {
        twins.both([&](QCustomPlot& plot) {
            auto* text = new QCPItemText(&plot);
            text->setLayer("overlay");
            text->setText("tag");
            text->position->setCoords(time, 500);
        });
    }

    void insertOldPoint()
    {
        const double key = time * below(100) / 100;
        const double inserted = value();
        const int index = graph();
        if (maybe()) {
            twins.addPoint(index, key, inserted);
        } else {
            change(index, [&](QCPGraph* graph) { graph->addData(key, inserted); });
        }
    }

    void appendAsStock()
    {
        const double appended = value();
        change(graph(), [&](QCPGraph* graph) { graph->addData(time, appended); });
    }

    // Size, first and last point stay.
    void rewriteInPlace()
    {
        const double written = value();
        change(graph(), [&](QCPGraph* graph) {
            if (graph->dataCount() > 2) {
                (graph->data()->begin() + graph->dataCount() / 2)->value = written;
            }
        });
    }

    // As a CAN signal is: a staircase over all of the time.
    void refill()
    {
        const int steps = below(300);
        const double height = 100 + below(900);
        change(graph(), [&](QCPGraph* graph) {
            graph->data()->clear();
            for (int i = 0; i < steps; ++i) {
                graph->addData(time * i / steps, i % 3 * height / 3);
                graph->addData(time * i / steps, (i + 1) % 3 * height / 3);
            }
        });
    }

    void addNoNumber()
    {
        const double number = maybe() ? std::numeric_limits<double>::quiet_NaN()
                                      : std::numeric_limits<double>::infinity();
        twins.addPoint(graph(), time, number);
    }

    // What is left to the library is painted by it, what lies above still incrementally.
    void changeStyle()
    {
        const bool odd = maybe();
        const int index = graph();
        switch (below(5)) {
        case 0:
            change(index, [&](QCPGraph* graph) {
                graph->setLineStyle(odd ? QCPGraph::lsStepLeft : QCPGraph::lsLine);
            });
            break;
        case 1:
            change(index, [&](QCPGraph* graph) {
                graph->setScatterStyle(odd ? QCPScatterStyle::ssCross : QCPScatterStyle::ssNone);
            });
            break;
        case 2:
            change(index, [&](QCPGraph* graph) {
                graph->setBrush(QBrush(odd ? Qt::Dense6Pattern : Qt::NoBrush));
            });
            break;
        case 3:
            change(index, [&](QCPGraph* graph) { graph->setAntialiased(!odd); });
            break;
        default:
            change(index, [&](QCPGraph* graph) { graph->setAdaptiveSampling(!odd); });
        }
    }

    void changeGround()
    {
        const bool odd = maybe();
        twins.both([&](QCustomPlot& plot) {
            plot.xAxis->grid()->setSubGridVisible(odd);
            plot.item(0)->setVisible(!odd);
        });
    }

    void changeAxes()
    {
        const int odd = below(6);
        twins.both([&](QCustomPlot& plot) {
            plot.xAxis->setRangeReversed(odd == 0);
            plot.yAxis->setRangeReversed(odd == 1);
            plot.yAxis->setScaleType(odd == 2 ? QCPAxis::stLogarithmic : QCPAxis::stLinear);
        });
    }

    static constexpr Action actions[] = {
        {"hide or show", &Drive::hideOrShow},
        {"select", &Drive::select},
        {"change pen", &Drive::changePen},
        {"pan", &Drive::pan},
        {"zoom", &Drive::zoom},
        {"resize", &Drive::resize},
        {"tag", &Drive::tag},
        {"insert old point", &Drive::insertOldPoint},
        {"append as stock", &Drive::appendAsStock},
        {"rewrite in place", &Drive::rewriteInPlace},
        {"refill", &Drive::refill},
        {"add no number", &Drive::addNoNumber},
        {"change style", &Drive::changeStyle},
        {"change ground", &Drive::changeGround},
        {"change axes", &Drive::changeAxes}};

    Twins& twins;
    double pace;
    bool noise;
    std::mt19937 random{1};
    double time = 0;
    double level = 500;
};

} // namespace

class LiveGraphTest : public QObject
{
    Q_OBJECT

private slots:
    void picturesEqualTheLibrarysOwn_data()
    {
        QTest::addColumn<double>("pace"); // s
        QTest::addColumn<bool>("noise");
        QTest::addColumn<double>("pixelRatio");
        QTest::newRow("a point in many pixels") << 3.0 << true << 1.0;
        QTest::newRow("a point a pixel") << 0.28 << false << 1.0;
        QTest::newRow("two points a pixel, sampling flips") << 0.137 << true << 1.0;
        QTest::newRow("two points a pixel, calm") << 0.139 << false << 1.0;
        QTest::newRow("clusters") << 0.03 << false << 1.0;
        QTest::newRow("dense noise") << 0.004 << true << 1.0;
        QTest::newRow("two device pixels a column") << 0.1 << false << 2.0;
        QTest::newRow("columns of one device pixel and a half") << 0.1 << false << 1.5;
    }

    void picturesEqualTheLibrarysOwn()
    {
        QFETCH(double, pace);
        QFETCH(bool, noise);
        QFETCH(double, pixelRatio);
        Twins twins(pixelRatio);
        twins.furnish();
        Drive drive(twins, pace, noise);
        for (int step = 0; step < 150; ++step) {
            const QString done = drive.step();
            QVERIFY2(twins.lookAlike(), qPrintable(QString("step %1: %2").arg(step).arg(done)));
        }
        QCOMPARE(twins.live.toPixmap().toImage(), twins.stock.toPixmap().toImage());
    }

    // Drawing is the dear part of a record: what would not show is not drawn.
    void knowsWhichPointsShow_data()
    {
        QTest::addColumn<QVector<double>>("before"); // keys, while the view goes from 10 to 20
        QTest::addColumn<double>("key");
        QTest::addColumn<bool>("shows");
        using Keys = QVector<double>;
        QTest::newRow("in view") << Keys{11} << 12.0 << true;
        QTest::newRow("left of the view") << Keys{1} << 2.0 << false;
        QTest::newRow("enters the view") << Keys{1} << 12.0 << true;
        QTest::newRow("leaves the view") << Keys{19} << 21.0 << true;
        QTest::newRow("the view is left") << Keys{19, 21} << 22.0 << false;
        QTest::newRow("late, into the view") << Keys{11, 30} << 15.0 << true;
        QTest::newRow("late, behind the view") << Keys{11, 30} << 21.0 << true;
    }

    void knowsWhichPointsShow()
    {
        QFETCH(QVector<double>, before);
        QFETCH(double, key);
        QFETCH(bool, shows);
        Twins twins;
        twins.addGraphs(1);
        twins.live.xAxis->setRange(10, 20);
        for (const double earlier : before) {
            twins.addPoint(0, earlier, 500);
        }
        twins.live.replot();
        const QImage picture = twins.live.grab().toImage();
        twins.addPoint(0, key, 700);
        QCOMPARE(twins.chart->hasNewInk(), shows);
        twins.live.replot();
        QCOMPARE(twins.live.grab().toImage() != picture, shows);
        QVERIFY(!twins.chart->hasNewInk());

        twins.live.graph(0)->setVisible(false);
        twins.addPoint(0, 13, 100);
        QVERIFY(!twins.chart->hasNewInk());
    }

    // The console may hold curves that others have made, and values that have no curve.
    void takesPointsForAnyGraph()
    {
        Twins twins;
        twins.addGraphs(1);
        twins.live.addGraph();
        twins.chart->addPoint(1, 5, 6);
        twins.chart->addPoint(2, 5, 6);
        QCOMPARE(twins.live.graph(1)->dataCount(), 1);
        QVERIFY(twins.chart->hasNewInk());
    }

    // One vector that grows is copied in a few milliseconds; all of them would lose records.
    void noRecordMovesManyVectors()
    {
        Twins twins;
        twins.addGraphs(128);
        QVector<const QCPGraphData*> places(128);
        int most = 0;
        for (int record = 0; record < 20'000; ++record) {
            int moved = 0;
            for (int channel = 0; channel < 128; ++channel) {
                twins.chart->addPoint(channel, record, channel);
                const auto* place = twins.live.graph(channel)->data()->constBegin();
                moved += record > 0 && place != places.at(channel) ? 1 : 0;
                places[channel] = place;
            }
            most = qMax(most, moved);
        }
        QCOMPARE(most, 1);
    }
};

QTEST_MAIN(LiveGraphTest)
#include "tst_livegraph.moc"
