// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/livechart.h"

#include <QtTest>
#include <random>

namespace {

std::mt19937 chance(1);

int below(int limit)
{
    return int(chance() % unsigned(limit));
}

// A plot of the library's graphs and one of the chart's, given the same.
class Twins
{
public:
    explicit Twins(int graphs, double pixelRatio = 1)
    {
        both([&](QCustomPlot& plot) {
            plot.setBufferDevicePixelRatio(pixelRatio);
            plot.resize(320, 160);
            plot.xAxis->setVisible(false); // curves alone, on white
            plot.yAxis->setVisible(false);
            plot.xAxis->setRange(0, 60);
            plot.yAxis->setRange(0, 1024);
            plot.show();
        });
        for (int i = 0; i < graphs; ++i) {
            const QPen pen(QColor::fromHsv(61 * i % 360, 200, 160));
            stock.addGraph()->setPen(pen);
            (i < channels ? chart->addChannel() : chart->addGraph())->setPen(pen);
        }
    }

    template <typename Change>
    void both(Change change)
    {
        change(stock);
        change(live);
    }

    void addRecord(double key, const std::vector<int>& values)
    {
        for (int i = 0; i < int(values.size()) && i < stock.graphCount(); ++i) {
            stock.graph(i)->addData(double(float(key)), values[size_t(i)]);
        }
        chart->addRecord(double(float(key)), values);
    }

    // Pixels of ink in one picture, but at its edges, without any in the other a pixel away.
    int difference()
    {
        const auto look = [](QCustomPlot& plot) {
            plot.replot();
            return plot.grab().toImage().convertToFormat(QImage::Format_RGB32);
        };
        const auto isInk = [](QRgb colour) { // on white
            return qMin(qRed(colour), qMin(qGreen(colour), qBlue(colour))) < 255 - 32;
        };
        const QImage here = look(stock);
        const QImage there = look(live);
        const QRect inside = stock.axisRect()->rect().adjusted(2, 2, -2, -2);
        int lonely = 0;
        for (const auto& [one, other] : {std::pair(here, there), {there, here}}) {
            for (int y = inside.top(); y <= inside.bottom(); ++y) {
                for (int x = inside.left(); x <= inside.right(); ++x) {
                    bool isNear = !isInk(one.pixel(x, y));
                    for (int i = 0; i < 9 && !isNear; ++i) {
                        isNear = isInk(other.pixel(x + i % 3 - 1, y + i / 3 - 1));
                    }
                    lonely += isNear ? 0 : 1;
                }
            }
        }
        return lonely;
    }

    static constexpr int channels = 3;
    QCustomPlot stock;
    QCustomPlot live;
    chart::LiveChart* chart = new chart::LiveChart(&live);
};

} // namespace

class ChartTest : public QObject
{
    Q_OBJECT

private slots:
    // Point by point against the library's container: drives one after the other, each at another
    // time, ties, records of more and fewer values.
    void pointsComeInTheLibrarysOrder()
    {
        for (int round = 0; round < 30; ++round) {
            Twins twins(4);
            const bool mixes = round % 3 == 2;
            for (int drive = 0; drive < 3; ++drive) {
                double time = below(1000);
                for (int i = 0, records = below(1200); i < records; ++i) {
                    time += round % 2 ? below(3) : below(100) - 40;
                    const int values = mixes ? 1 + below(4) : 3;
                    std::vector<int> record;
                    for (int k = 0; k < values; ++k) {
                        record.push_back(k == 1 ? 7 : k == 2 ? int(chance()) : below(100));
                    }
                    twins.addRecord(time + (mixes ? i * 1e-3 : 0), record);
                    const int channel = below(4); // with blocks as they are just now
                    QCOMPARE(
                        twins.live.graph(channel)->findBegin(time - 30),
                        twins.stock.graph(channel)->findBegin(time - 30));
                }
                if (drive == 1 && round % 5 == 0) {
                    twins.both([&](QCustomPlot& plot) { plot.graph(1)->addData(time / 2, 0.5); });
                }
            }
            for (int channel = 0; channel < 4; ++channel) {
                const QCPGraph* live = twins.live.graph(channel);
                const QCPGraph* stock = twins.stock.graph(channel);
                QCOMPARE(live->dataCount(), stock->dataCount());
                for (int i = 0; i < stock->dataCount(); ++i) {
                    QCOMPARE(live->dataMainKey(i), stock->dataMainKey(i));
                    QCOMPARE(live->dataMainValue(i), stock->dataMainValue(i));
                }
                QCOMPARE(live->findEnd(500), stock->findEnd(500));
                bool found = false;
                QCOMPARE(live->getValueRange(found), stock->getValueRange(found));
            }
        }
    }

    void picturesAreTheLibrarys_data()
    {
        QTest::addColumn<double>("pace"); // s
        QTest::addColumn<bool>("noise");
        QTest::addColumn<double>("pixelRatio");
        QTest::newRow("a point in many pixels") << 3.0 << true << 1.0;
        QTest::newRow("a point a pixel") << 0.26 << false << 1.0;
        QTest::newRow("some points a pixel") << 0.07 << true << 1.0;
        QTest::newRow("crowds") << 0.01 << false << 1.0;
        QTest::newRow("dense noise") << 0.004 << true << 1.0;
        QTest::newRow("two device pixels a column") << 0.08 << false << 2.0;
    }

    void picturesAreTheLibrarys()
    {
        QFETCH(double, pace);
        QFETCH(bool, noise);
        QFETCH(double, pixelRatio);
        chance.seed(1);
        Twins twins(5, pixelRatio);
        double time = 0;
        int level = 500;
        const auto act = [&](int kind) {
            const int index = below(twins.stock.graphCount());
            const auto change = [&](auto work) {
                twins.both([&](QCustomPlot& plot) { work(plot.graph(index)); });
            };
            const bool odd = below(2);
            const double lower = odd ? twins.stock.xAxis->range().lower : time - below(60);
            const double height = 300 + below(1300);
            const double addedKey = time * below(100) / 100;
            const double addedValue = below(1000) + 0.5;
            switch (kind) {
            case 0:
                change([&](QCPGraph* graph) { graph->setVisible(odd); });
                return "hide or show";
            case 1:
                change([&](QCPGraph* graph) {
                    graph->setSelection(QCPDataSelection(QCPDataRange(0, odd)));
                });
                return "select";
            case 2:
                twins.both([&](QCustomPlot& plot) {
                    plot.xAxis->setRange(lower, lower + height / 20);
                    plot.yAxis->setRange(512, height, Qt::AlignCenter);
                });
                return "zoom";
            case 3:
                change([&](QCPGraph* graph) {
                    graph->setLineStyle(odd ? QCPGraph::lsStepLeft : QCPGraph::lsLine);
                });
                return "steps";
            case 4:
                twins.both([&](QCustomPlot& plot) {
                    plot.resize(300 + index, 150 + index);
                    plot.xAxis->setRangeReversed(odd);
                    plot.yAxis->setScaleType(odd ? QCPAxis::stLinear : QCPAxis::stLogarithmic);
                    plot.xAxis->setScaleType(
                        index == 0 ? QCPAxis::stLogarithmic : QCPAxis::stLinear);
                });
                return "change axes and size";
            case 5:
                change([&](QCPGraph* graph) { graph->addData(addedKey, addedValue); });
                return "insert";
            case 6:
                twins.both([&](QCustomPlot& plot) {
                    plot.graph(4)->addData(time, odd ? qQNaN() : qInf());
                });
                return "no number";
            default:
                time += below(4) == 0 ? 5 : 0; // a break
                for (int records = 1 + below(int(2 + 2 / pace)); records > 0; --records) {
                    time += pace * (50 + below(100)) / 100;
                    std::vector<int> values(below(9) > 0 ? 3 : 1 + below(5));
                    for (int& value : values) {
                        value = noise ? 350 + below(500) : level += below(61) - 30;
                    }
                    twins.addRecord(time, values);
                }
                return "records";
            }
        };
        for (int step = 0; step < 60; ++step) {
            const char* done = act(below(14));
            const int difference = twins.difference();
            QVERIFY2(
                difference == 0,
                qPrintable(QString("step %1, %2: %3").arg(step).arg(done).arg(difference)));
        }
        QCOMPARE(twins.live.toPixmap().toImage(), twins.stock.toPixmap().toImage());
    }

    // Channels without a sensor lie on each other.
    void aPileOfCurvesFadesNothingBesideIt()
    {
        chart::History history;
        std::vector<double> row(128, 50);
        row[0] = 49;
        for (int i = 0; i < 1000; ++i) {
            history.add(i * 0.1, row.data(), 0, 128);
        }
        const double rest = 4.0 / 256; // of the pile, in the pixel below
        chart::Scene scene{
            {100, 100}, 1, {0, 100, 0, 100, false}, {0, 100, 99.5 + rest, rest - 0.5, false}, {}};
        for (int channel = 0; channel < 128; ++channel) {
            scene.curves.push_back({&history, channel, true, QPen(Qt::red, 0)});
        }
        QImage picture(scene.size, QImage::Format_ARGB32_Premultiplied);
        const auto ink = [&](const std::vector<chart::Curve>& curves) {
            chart::render(scene, curves, 0, picture, false);
            return qAlpha(picture.pixel(50, 50));
        };
        QVERIFY(ink(scene.curves) >= ink({scene.curves.front()}));
    }

    // Workers read while the history grows, views change, and the window closes on them.
    void anythingMayChangeWhileWorkersPaint()
    {
        chance.seed(1);
        for (int round = 0; round < 12; ++round) {
            Twins twins(5);
            double time = 0;
            for (int step = 0; step < 40; ++step) {
                for (int records = below(200); records > 0; --records) {
                    time += records == 7 ? -1 : 0.02; // late at times
                    twins.addRecord(time, {below(900), below(9) * 100, step, 7, 8});
                }
                twins.both([&, lower = double(below(20))](QCustomPlot& plot) {
                    plot.xAxis->setRange(lower, lower + 60);
                    plot.graph(step % 5)->setVisible(step % 3 != 0);
                });
                twins.live.replot();
                if (step % 4 == 0) {
                    QCoreApplication::processEvents();
                }
            }
            if (round % 2 == 0) {
                QCOMPARE(twins.difference(), 0);
                twins.live.xAxis->setRange(0, 20);
                twins.live.replot();
            }
        }
    }

    // What has been moved into the new view at once is made exact by and by.
    void thePictureBecomesExactByItself()
    {
        Twins twins(3);
        for (int i = 0; i < 20'000; ++i) {
            twins.addRecord(i * 1e-3, {i % 1000, 200, 300});
        }
        const QImage exact = twins.live.grab().toImage();
        twins.live.xAxis->setRange(5, 65);
        twins.live.grab();
        twins.live.xAxis->setRange(0, 60);
        twins.live.replot();
        // A grab would make it exact.
        QTRY_COMPARE(twins.live.screen()->grabWindow(twins.live.winId()).toImage(), exact);
    }

    void aClickFindsTheCurveBeneath()
    {
        Twins twins(5);
        twins.addRecord(0, {100, 500, 900});
        twins.addRecord(60, {100, 500, 900});
        for (const auto& [value, graph] : {std::pair(100, 0), {510, 1}, {880, 2}, {300, -1}}) {
            const QPoint place(
                int(twins.live.xAxis->coordToPixel(30)),
                int(twins.live.yAxis->coordToPixel(value)));
            const QCPAbstractPlottable* hit = twins.live.plottableAt(place);
            QCOMPARE(hit, graph < 0 ? nullptr : twins.live.plottable(graph));
        }
        // A drive at 10 kHz: the library is not asked about each point that may be near.
        for (int i = 0; i < 600'000; ++i) {
            twins.addRecord(60 + i * 1e-4, {100 + i % 3, 400 + below(300), 900});
        }
        twins.both([](QCustomPlot& plot) { plot.xAxis->setRange(60, 120); });
        for (int value = 0; value < 1000; value += 10) {
            const QPoint place(160, int(twins.live.yAxis->coordToPixel(value)));
            for (int i = 0; i < twins.channels; ++i) {
                const double live = twins.live.graph(i)->selectTest(place, false);
                QVERIFY(qAbs(live - twins.stock.graph(i)->selectTest(place, false)) < 1);
            }
        }
    }
};

QTEST_MAIN(ChartTest)
#include "tst_chart.moc"
