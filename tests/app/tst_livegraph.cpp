// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/livechart.h"
#include "app/livegraph.h"

#include <QtTest>
#include <functional>
#include <limits>
#include <random>

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();

// A plot of stock graphs and one of live graphs, given the same.
class Twins
{
public:
    explicit Twins(int graphs, double pixelRatio = 1)
    {
        both([&](QCustomPlot& plot) {
            plot.setBufferDevicePixelRatio(pixelRatio);
            plot.resize(220, 110);
            plot.xAxis->setRange(0, 60);
            plot.yAxis->setRange(0, 1024);
            plot.show();
        });
        addGraphs(graphs);
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
            const QPen pen(QColor::fromHsv(61 * stock.graphCount() % 360, 200, 160));
            stock.addGraph()->setPen(pen);
            chart->addGraph()->setPen(pen);
        }
    }

    void addLogo()
    {
        both([](QCustomPlot& plot) {
            QPixmap pixmap(40, 40);
            pixmap.fill(QColor(200, 30, 30, 100));
            auto* logo = new QCPItemPixmap(&plot);
            logo->setPixmap(pixmap);
            logo->topLeft->setType(QCPItemPosition::ptAxisRectRatio);
            logo->topLeft->setCoords(0.4, 0.2);
        });
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

// A session in which an operator does all that can be done to a chart. Random, but the same each
// time.
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
        if (maybe()) {
            records(1 + below(int(2 + 1.5 / pace)));
            return "records";
        }
        const auto& [name, act] = actions[std::size_t(below(int(actions.size())))];
        act();
        return name;
    }

private:
    int below(int limit) { return int(random() % unsigned(limit)); }
    bool maybe() { return below(2) == 0; }
    int anyGraph() { return below(twins.stock.graphCount()); }
    double value() { return noise ? 350 + below(500) : level += below(61) - 30; }

    template <typename Change>
    void change(Change change)
    {
        const int index = anyGraph();
        twins.both([&](QCustomPlot& plot) { change(plot.graph(index)); });
    }

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

    void zoom()
    {
        const double lower = maybe() ? twins.live.xAxis->range().lower : time - below(60);
        const double height = 500 + below(1300);
        twins.both([&](QCustomPlot& plot) {
            plot.xAxis->setRange(lower, lower + 60);
            plot.yAxis->setRange(512, height, Qt::AlignCenter);
        });
    }

    void changeAxes()
    {
        const int odd = below(5);
        twins.both([&](QCustomPlot& plot) {
            plot.xAxis->setRangeReversed(odd == 0);
            plot.yAxis->setRangeReversed(odd == 1);
            plot.yAxis->setScaleType(odd == 2 ? QCPAxis::stLogarithmic : QCPAxis::stLinear);
        });
    }

    // Odd curves are left to the library.
    void changeStyle(bool odd)
    {
        const int kind = below(5);
        change([&](QCPGraph* graph) {
            if (kind == 0) {
                graph->setLineStyle(odd ? QCPGraph::lsStepLeft : QCPGraph::lsLine);
            } else if (kind == 1) {
                graph->setScatterStyle(odd ? QCPScatterStyle::ssDot : QCPScatterStyle::ssNone);
            } else if (kind == 2) {
                graph->setBrush(QBrush(odd ? Qt::Dense6Pattern : Qt::NoBrush));
            } else if (kind == 3) {
                graph->setAntialiased(!odd);
            } else {
                graph->setAdaptiveSampling(!odd);
            }
        });
    }

    // As the staircase of a CAN signal, over all of the time.
    void refill(int steps, double height)
    {
        change([&](QCPGraph* graph) {
            graph->data()->clear();
            for (int i = 0; i < steps; ++i) {
                graph->addData(time * i / steps, i % 3 * height / 3);
                graph->addData(time * i / steps, (i + 1) % 3 * height / 3);
            }
        });
    }

    const std::vector<std::pair<const char*, std::function<void()>>> actions = {
        {"hide or show", [&] { change([on = maybe()](QCPGraph* g) { g->setVisible(on); }); }},
        {"select",
         [&] {
             const QCPDataSelection selection(QCPDataRange(0, below(2)));
             change([&](QCPGraph* graph) { graph->setSelection(selection); });
         }},
        {"change pen",
         [&] {
             const QPen pen(QColor(0, 90, 200, maybe() ? 255 : 90), below(5) == 0 ? 2 : 1);
             change([&](QCPGraph* graph) { graph->setPen(pen); });
         }},
        {"zoom", [&] { zoom(); }},
        {"resize",
         [&] {
             const QSize size(170 + below(100), 90 + below(40));
             twins.both([&](QCustomPlot& plot) { plot.resize(size); });
         }},
        {"tag",
         [&] {
             twins.both([&](QCustomPlot& plot) {
                 auto* text = new QCPItemText(&plot);
                 text->setLayer("overlay");
                 text->setText("tag");
                 text->position->setCoords(time, 500);
             });
         }},
        {"insert", [&] { twins.addPoint(anyGraph(), time * below(100) / 100, value()); }},
        {"insert, append as stock",
         [&] {
             const double key = maybe() ? time : time / 2;
             change([&, y = value()](QCPGraph* graph) { graph->addData(key, y); });
         }},
        {"rewrite in place", // size, first and last point stay
         [&] {
             change([y = value()](QCPGraph* graph) {
                 if (graph->dataCount() > 2) {
                     (graph->data()->begin() + graph->dataCount() / 2)->value = y;
                 }
             });
         }},
        {"refill", [&] { refill(below(300), 100 + below(900)); }},
        {"no number", [&] { twins.addPoint(anyGraph(), time, maybe() ? notANumber : infinite); }},
        {"change style", [&] { changeStyle(maybe()); }},
        {"change ground", // beneath the curves, and between them
         [&] {
             twins.both([odd = maybe()](QCustomPlot& plot) {
                 plot.xAxis->grid()->setSubGridVisible(odd);
                 plot.item(0)->setVisible(!odd);
             });
         }},
        {"change axes", [&] { changeAxes(); }}};

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
        QTest::newRow("a point a pixel") << 0.36 << false << 1.0;
        QTest::newRow("two points a pixel, sampling flips") << 0.181 << true << 1.0;
        QTest::newRow("two points a pixel, calm") << 0.178 << false << 1.0;
        QTest::newRow("clusters") << 0.03 << false << 1.0;
        QTest::newRow("dense noise") << 0.008 << true << 1.0;
        QTest::newRow("two device pixels a column") << 0.25 << false << 2.0;
        QTest::newRow("columns of one device pixel and a half") << 0.25 << false << 1.5;
    }

    void picturesEqualTheLibrarysOwn()
    {
        QFETCH(double, pace);
        QFETCH(bool, noise);
        QFETCH(double, pixelRatio);
        Twins twins(3, pixelRatio);
        twins.addLogo();
        twins.addGraphs(2); // a second stack
        Drive drive(twins, pace, noise);
        for (int step = 0; step < 200; ++step) {
            const QString done = drive.step();
            QVERIFY2(twins.lookAlike(), qPrintable(QString("step %1: %2").arg(step).arg(done)));
        }
        QCOMPARE(twins.live.toPixmap().toImage(), twins.stock.toPixmap().toImage());
    }

    // Traces of other tools may hold anything for a time. Points whose times are no numbers are in
    // no order that could be searched.
    void timesMayBeNoNumbers()
    {
        for (const double pace : {0.9, 0.02}) {
            Twins twins(1);
            for (int i = 0; i < 150; ++i) {
                twins.addPoint(0, i % 5 == 4 ? notANumber : i * pace, 97 * i % 1024);
                QVERIFY2(twins.lookAlike(), qPrintable(QString::number(i)));
            }
        }
    }

    // Drawing is the dear part of a record: what would not show is not drawn.
    void knowsWhichPointsShow()
    {
        const std::tuple<QVector<double>, double, bool> rows[] = {
            {{11}, 12, true},      // in the view, which goes from 10 to 20
            {{1}, 2, false},       // left of it
            {{1}, 12, true},       // enters it
            {{19}, 21, true},      // leaves it
            {{19, 21}, 22, false}, // has left it
            {{11, 30}, 15, true},  // late, into it
            {{11, 30}, 21, true},  // late, behind it
        };
        for (const auto& [before, key, shows] : rows) {
            Twins twins(1);
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
    }

    // The plot may hold graphs that others have made, and a record values that have no graph.
    void takesPointsForAnyGraph()
    {
        Twins twins(1);
        twins.live.addGraph();
        twins.chart->addPoint(1, 5, 6);
        twins.chart->addPoint(2, 5, 6);
        QCOMPARE(twins.live.graph(1)->dataCount(), 1);
        QVERIFY(twins.chart->hasNewInk());
    }

    // One vector that grows is copied within a millisecond; all of them at once would lose records.
    void noRecordMovesManyVectors()
    {
        Twins twins(128);
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
