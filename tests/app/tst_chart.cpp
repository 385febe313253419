// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/livechart.h"
#include "support/pictures.h"

#include <QtTest>
#include <malloc.h>
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
            (i < channels ? live.addChannel() : live.addSignal())->setPen(pen);
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
        live.addRecord(double(float(key)), values);
    }

    void addPoint(int graph, double key, double value)
    {
        stock.graph(graph)->addData(key, value);
        qobject_cast<chart::Graph*>(live.graph(graph))->addPoint(key, value);
    }

    // Pixels of ink in one picture, but at its edges, without any in the other a pixel away.
    int difference(const QImage& here, const QImage& there) const
    {
        const auto isInk = [](QRgb colour) { // on white
            return qMin(qRed(colour), qMin(qGreen(colour), qBlue(colour))) < 255 - 32;
        };
        const auto isAlike = [=](QRgb one, QRgb other) { return !isInk(one) || isInk(other); };
        return lonelyPixels(here, there, stock.axisRect()->rect().adjusted(1, 1, -1, -1), isAlike);
    }

    int difference()
    {
        both([](QCustomPlot& plot) { plot.replot(); });
        return difference(stock.grab().toImage(), live.grab().toImage());
    }

    static constexpr int channels = 3;
    QCustomPlot stock;
    chart::LiveChart live;
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
                }
                if (drive == 1 && round % 5 == 0) {
                    twins.addPoint(3, time / 2, 0.5);
                    qobject_cast<chart::Graph*>(twins.live.graph(3))->addPoint(qQNaN(), 1);
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
                bool found = false;
                QCOMPARE(live->getKeyRange(found), stock->getKeyRange(found));
                for (const QCPRange& keys : {QCPRange(), QCPRange(500, 600)}) {
                    QCOMPARE(
                        live->getValueRange(found, QCP::sdBoth, keys),
                        stock->getValueRange(found, QCP::sdBoth, keys));
                }
            }
        }
    }

    // A record of the log has a value more than one of the session: its line end counts as one.
    void aLogOpenedInItsSessionTakesNoBlockARecord()
    {
        chart::LiveChart live;
        for (int i = 0; i < 128; ++i) {
            live.addChannel();
        }
        constexpr int records = 10'000;
        const auto addRecords = [&](const std::vector<int>& values) {
            for (int i = 0; i < records; ++i) {
                live.addRecord(i * 1e-3, values);
            }
            return double(mallinfo2().uordblks); // bytes; always the same under a sanitizer
        };
        const double before = addRecords(std::vector<int>(32));
        const double bytes = addRecords(std::vector<int>(33)) - before;
        QVERIFY2(bytes < 100.0 * records, qPrintable(QString::number(bytes / records)));
    }

    void lateRecordsNowAndThenShareABlock()
    {
        chart::History history;
        constexpr double value = 5;
        for (int i = 0; i < 60'000; ++i) {
            history.add(i % 1000 == 999 ? i * 1e-3 : 1000 + i, &value, 0, 1);
        }
        int blocks = 0;
        history.visit(0, {0, 60}, [&](const chart::Block&, int, int) { return ++blocks < 60; });
        QVERIFY2(blocks < 4, qPrintable(QString::number(blocks)));
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
            const bool odd = below(2);
            const double lower = odd ? twins.stock.xAxis->range().lower : time - below(60);
            const double height = 300 + below(1300);
            const double addedKey = time * below(100) / 100;
            const double addedValue = below(1000) + 0.5;
            switch (kind) {
            case 0:
                twins.both([&](QCustomPlot& plot) { plot.graph(index)->setVisible(odd); });
                return "hide or show";
            case 1:
                twins.both([&](QCustomPlot& plot) {
                    plot.graph(index)->setSelection(QCPDataSelection(QCPDataRange(0, odd)));
                });
                return "select";
            case 2:
                twins.both([&](QCustomPlot& plot) {
                    plot.xAxis->setRange(lower, lower + height / 20);
                    plot.yAxis->setRange(512, height, Qt::AlignCenter);
                });
                return "zoom";
            case 3:
                twins.both([&](QCustomPlot& plot) { plot.resize(300 + index, 150 + index); });
                return "change the size";
            case 4:
                twins.addPoint(3 + index % 2, addedKey, addedValue);
                return "insert";
            case 5:
                twins.addPoint(4, time, odd ? qQNaN() : qInf());
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
            const char* done = act(below(12));
            const int difference = twins.difference();
            QVERIFY2( // but for the ends of wide lines, as falling columns begin at the top
                difference <= 2,
                qPrintable(QString("step %1, %2: %3").arg(step).arg(done).arg(difference)));
        }
        const QImage exported = twins.live.toPixmap().toImage();
        QCOMPARE(twins.difference(exported, twins.live.grab().toImage()), 0);
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
        chart::Scene scene{{100, 100}, 1, {0, 100, 0, 100}, {0, 100, 99.5 + rest, rest - 0.5}, {}};
        for (int channel = 0; channel < 128; ++channel) {
            scene.curves.push_back({&history, channel, qRgb(255, 0, 0), 0, true});
        }
        QImage picture(scene.size, QImage::Format_ARGB32_Premultiplied);
        const auto ink = [&](const std::vector<chart::Curve>& curves) {
            chart::render(scene, curves, 0, picture.width(), picture.bits(), false);
            return qAlpha(picture.pixel(50, 50));
        };
        QVERIFY(ink(scene.curves) >= ink({scene.curves.front()}));
    }

    // Wherever the columns that are painted anew begin.
    void columnsLookAsInTheWholePicture_data()
    {
        QTest::addColumn<double>("width");
        QTest::newRow("thin") << 0.0;
        QTest::newRow("selected") << 2.5;
    }

    void columnsLookAsInTheWholePicture()
    {
        QFETCH(double, width);
        chart::History history;
        for (const chart::Point& point : {chart::Point{0, 700}, {24, 437}, {61, 500}, {62, 90}}) {
            history.add(point.key, &point.value, 0, 1);
        }
        chart::Scene scene{{64, 100}, 1, {0, 64, 0.5, 64.5}, {0, 1000, 99.5, -0.5}, {}};
        scene.curves.push_back({&history, 0, qRgb(255, 0, 0), width, false});
        QImage whole(scene.size, QImage::Format_ARGB32_Premultiplied);
        chart::render(scene, scene.curves, 0, 64, whole.bits(), false);
        for (int first = 1; first < 50; ++first) {
            QImage part = whole.copy();
            chart::render(scene, scene.curves, first, 14, part.bits(), false);
            QVERIFY2(differenceOf(part, whole) <= 3, qPrintable(QString::number(first)));
        }
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
        QTRY_COMPARE(screenOf(twins.live), exact); // a grab would make it exact
    }

    void aRecordPaintsItsColumnsAlone_data()
    {
        QTest::addColumn<double>("pixelRatio");
        for (const double ratio : {1.0, 1.5, 2.0}) {
            QTest::addRow("%.1f", ratio) << ratio;
        }
    }

    void aRecordPaintsItsColumnsAlone()
    {
        QFETCH(double, pixelRatio);
        Twins twins(5, pixelRatio);
        chart::LiveChart& live = twins.live;
        const auto addRecords = [&](int from, int to) {
            for (int i = from; i < to; ++i) {
                twins.addRecord(i * 0.02, {i * 7 % 900, i % 100 * 9, i, 300 + below(90), 700});
                live.requestNews();
            }
        };
        QVERIFY(QTest::qWaitForWindowExposed(&live));
        QSignalSpy first(&live, &QCustomPlot::afterReplot);
        live.addRecord(46, {1}, 0);
        live.addRecord(46, {3}, 2);
        live.requestNews();
        QTRY_COMPARE(first.count(), 1); // takes the channels in, which had no points
        twins.addRecord(47, {1, 2, 3});
        live.requestNews();
        QTRY_COMPARE(first.count(), 2); // likewise the one between them
        addRecords(2400, 2500);
        live.grab();
        QCoreApplication::processEvents();
        PaintCount painted;
        live.installEventFilter(&painted);
        QSignalSpy replots(&live, &QCustomPlot::afterReplot);
        for (int i = 2500; i < 2750; i += 10) {
            const int before = painted.paints;
            addRecords(i, i + 10);
            QTRY_VERIFY(painted.paints > before);
        }
        const int before = painted.paints;
        addRecords(2750, 2751);
        QTRY_VERIFY(painted.paints > before); // now all of them
        QCOMPARE(replots.count(), 0);
        QVERIFY(painted.pixels < 0.1 * painted.paints * live.width() * live.height());
        const QImage screen = screenOf(twins.live);
        QCOMPARE(live.grab().toImage(), screen);
        live.replot();
        QCOMPARE(screenOf(twins.live), screen);
        live.xAxis->moveRange(1); // all columns anew
        live.grab();
        live.xAxis->moveRange(-1);
        QVERIFY(differenceOf(live.grab().toImage(), screen) <= 3);
    }

    // What shows a part of the window before the next replot must find the axes there.
    void axesStayWithANewSignal()
    {
        Twins twins(3);
        QVERIFY(QTest::qWaitForWindowExposed(&twins.live));
        twins.live.xAxis->setVisible(true);
        twins.live.replot();
        const QImage before = screenOf(twins.live);
        twins.live.addSignal();
        twins.live.repaint();
        QCOMPARE(screenOf(twins.live), before);
        twins.live.yAxis->setVisible(true); // moves the axis rect
        const QImage unplotted = twins.live.grab().toImage();
        twins.live.replot();
        QCOMPARE(twins.live.grab().toImage(), unplotted);
    }

    void flanksAreEquallyThick()
    {
        Twins twins(1);
        for (int i = 0; i < 60'000; ++i) {
            twins.addRecord(i * 1e-3, {512 - int(500 * std::cos(i * 1e-3 * M_PI / 30))});
        }
        const QImage picture =
            twins.live.grab().toImage().convertToFormat(QImage::Format_Grayscale8);
        const QRect inside = twins.live.axisRect()->rect();
        int ink[2] = {0, 0}; // of the rising and of the falling half
        for (int y = inside.top(); y <= inside.bottom(); ++y) {
            for (int x = 4; x < inside.width() - 4; ++x) {
                ink[x < inside.width() / 2 ? 0 : 1] +=
                    255 - qGray(picture.pixel(inside.left() + x, y));
            }
        }
        QVERIFY2(
            qAbs(ink[0] - ink[1]) < ink[0] / 9,
            qPrintable(QString("%1 %2").arg(ink[0]).arg(ink[1])));
    }

    // As long as the mouse is down, moves wait for the display.
    void aDragOutAndBackIsNoClick()
    {
        Twins twins(3);
        twins.live.setInteractions(QCP::iRangeDrag | QCP::iSelectPlottables);
        twins.addRecord(0, {500, 100, 900});
        twins.addRecord(60, {500, 100, 900});
        twins.live.replot();
        const int y = int(twins.live.yAxis->coordToPixel(500));
        const auto send = [&](QEvent::Type type, int x, Qt::MouseButtons buttons) {
            QMouseEvent event(type, QPointF(x, y), Qt::LeftButton, buttons, Qt::NoModifier);
            QApplication::sendEvent(&twins.live, &event);
        };
        send(QEvent::MouseButtonPress, 160, Qt::LeftButton);
        send(QEvent::MouseMove, 200, Qt::LeftButton);
        send(QEvent::MouseMove, 160, Qt::LeftButton);
        send(QEvent::MouseButtonRelease, 160, Qt::NoButton);
        QVERIFY(!twins.live.graph(0)->selected());
        QCOMPARE(twins.live.xAxis->range(), QCPRange(0, 60));
        QTest::mouseClick(&twins.live, Qt::LeftButton, Qt::NoModifier, {160, y});
        QVERIFY(twins.live.graph(0)->selected());
    }

    void aClickFindsTheCurveBeneath()
    {
        Twins twins(5);
        // What is hit, but for a pixel or so of the distance.
        const auto compare = [&](int graph, QPoint place) {
            const auto isHit = [&](QCustomPlot& plot, double reach) {
                const double distance = plot.graph(graph)->selectTest(place, false);
                return distance >= 0 && distance < reach;
            };
            QVERIFY(!isHit(twins.stock, 6) || isHit(twins.live, 8));
            QVERIFY(!isHit(twins.live, 6) || isHit(twins.stock, 8));
        };
        for (int i = 1; i < 20; ++i) {
            twins.addPoint(3, i * 3, below(1000)); // few points: on lines as well as on points
        }
        for (int i = 0; i < 2000; ++i) {
            compare(3, {below(320), below(160)});
        }
        // A drive at 10 kHz: the library is not asked about each point that may be near.
        for (int i = 0; i < 600'000; ++i) {
            twins.addRecord(60 + i * 1e-4, {100 + i % 3, 400 + below(300), 900});
        }
        twins.both([](QCustomPlot& plot) { plot.xAxis->setRange(60, 120); });
        for (int value = 0; value < 1000; value += 10) {
            for (int i = 0; i < twins.channels; ++i) {
                compare(i, {160, int(twins.live.yAxis->coordToPixel(value))});
            }
        }
    }
};

QTEST_MAIN(ChartTest)
#include "tst_chart.moc"
