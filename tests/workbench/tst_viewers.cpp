// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/pictures.h"
#include "support/testhome.h"
#include "workbench/chartview.h"
#include "workbench/plotcurve.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QTest>
#include <cmath>

namespace {

using Points = QVector<QPointF>;
using Curves = QMap<QString, Points>;

void feed(IDataPresenter& viewer, unsigned int sample, unsigned int time, std::vector<int> values)
{
    viewer.update(sample, time, values);
}

// The texts of all labels; those of hidden ones in brackets.
QString textsOf(const QWidget& viewer)
{
    QStringList texts;
    for (const QLabel* label : viewer.findChildren<QLabel*>()) {
        texts << (label->isHidden() ? '(' + label->text() + ')' : label->text());
    }
    return texts.join('|');
}

void rightClick(QWidget& viewer)
{
    QTest::mouseClick(&viewer, Qt::RightButton, {}, QPoint(1, 1));
}

// A plot viewer on the screen, with its insides at hand.
struct Plot
{
    explicit Plot(const QVector<int>& rows = {})
    {
        viewer.show();
        choose(rows);
        QCoreApplication::processEvents();
    }

    void choose(const QVector<int>& rows)
    {
        rightClick(viewer);
        const QList<QCheckBox*> boxes = viewer.findChildren<QCheckBox*>();
        for (int row = 0; row < boxes.size(); ++row) {
            boxes[row]->setChecked(rows.contains(row));
        }
        rightClick(viewer);
    }

    Points points() { return curves().first(); }

    Curves curves()
    {
        Curves curves;
        for (QAbstractSeries* each : chart->series()) {
            curves[each->name()] = qobject_cast<QLineSeries*>(each)->points().toVector();
        }
        return curves;
    }

    QRectF range() const // of both axes
    {
        return {QPointF(axisX->min(), axisY->min()), QPointF(axisX->max(), axisY->max())};
    }

    PlotViewer viewer;
    ChartView* view = viewer.findChild<ChartView*>();
    QChart* chart = view->chart();
    QValueAxis* axisX = qobject_cast<QValueAxis*>(chart->axes(Qt::Horizontal).first());
    QValueAxis* axisY = qobject_cast<QValueAxis*>(chart->axes(Qt::Vertical).first());
};

} // namespace

class TestViewers : public QObject
{
    Q_OBJECT

private slots:
    void valuesAndNames()
    {
        ValueViewer values;
        PlotViewer plot;
        QCOMPARE(textsOf(values), QString("SeqNo: |Timestamp: "));
        feed(values, 4294967295U, 4294967294U, {0, -7});
        QCOMPARE(
            textsOf(values), QString("SeqNo: 4294967295|Timestamp: 4294967294|data 1|0|data 2|-7"));
        QSettings store("Zelmark-Tuning", "DataLogger");
        store.setValue("ui/channels/1/label", "too late");
        store.setValue("ui/channels/5/label", "Oil");
        store.sync();
        feed(plot, 1, 1, {1, 2, 3});
        QCOMPARE(textsOf(plot), QString("data 0|data 1|data 2|data 3|data 4"));
        feed(plot, 1, 1, std::vector<int>(7));
        QCOMPARE(textsOf(plot), QString("data 0|data 1|data 2|data 3|data 4|Oil|data 7"));
        feed(values, 1, 2, {1, 2, 3, 4, 5, 2147483647});
        feed(values, 2, 3, {0}); // rows stay, and so do their values
        QCOMPARE(
            textsOf(values), QString("SeqNo: 2|Timestamp: 3|data 1|0|data 2|2|data 3|3|data 4|4|"
                                     "data 5|5|Oil|2147483647"));
        store.clear();
    }

    void setupAndReadingView()
    {
        ValueViewer viewer;
        viewer.show();
        feed(viewer, 1, 1, {1, 2});
        QCoreApplication::processEvents();
        viewer.findChild<QCheckBox*>()->setChecked(false);
        const QString all = "SeqNo: 1|Timestamp: 1|data 1|1|data 2|2";
        const QString reading = "SeqNo: 1|Timestamp: 1|(data 1)|(1)|data 2|2";
        // It begins as if it were in the reading view, so that the first click hides nothing.
        for (const QString& expected : {all, reading, all, reading}) {
            QTest::mouseClick(&viewer, Qt::LeftButton);
            rightClick(viewer);
            QCOMPARE(textsOf(viewer), expected);
            QCOMPARE(viewer.findChild<QCheckBox*>()->isHidden(), expected == reading);
        }
        for (const int value : {1, -2147483647 - 1}) {
            feed(viewer, 1234567, 1, {7, value, 9});
            QCoreApplication::processEvents();
        }
        QCOMPARE(
            textsOf(viewer),
            QString("SeqNo: 1234567|Timestamp: 1|(data 1)|(7)|data 2|-2147483648|data 3|9"));
        QVERIFY(!viewer.findChildren<QCheckBox*>().last()->isHidden());
        for (const QLabel* label : viewer.findChildren<QLabel*>()) { // none is cut
            QVERIFY(label->width() >= label->sizeHint().width() || label->isHidden());
        }
        QCOMPARE(screenOf(viewer), viewer.grab().toImage());
        // A sub-window does not grow with the rows: they scroll.
        viewer.setFixedSize(300, 50);
        QCoreApplication::processEvents();
        const QLabel* last = viewer.findChildren<QLabel*>().last();
        QVERIFY(last->height() >= last->sizeHint().height());
        viewer.findChild<QScrollArea*>()->verticalScrollBar()->setValue(1000);
        QVERIFY(viewer.rect().contains(last->mapTo(&viewer, last->rect().bottomRight())));
    }

    void chosenChannels()
    {
        Plot plot;
        rightClick(plot.viewer);
        for (const int row : {0, 2, 3}) {
            plot.viewer.findChildren<QCheckBox*>()[row]->setChecked(true);
        }
        QTest::mouseClick(&plot.viewer, Qt::LeftButton, {}, QPoint(1, 1));
        QCOMPARE(plot.curves(), Curves()); // not before the panel is closed
        rightClick(plot.viewer);
        feed(plot.viewer, 25, 0, {1, 2, 3});
        feed(plot.viewer, 26, 2500, {-4, 5, 6});
        feed(plot.viewer, 27, 16777219, {7, 8, 9}); // more than a float can count
        const Points first = {{2.5, 1}, {2.5, -4}, {16777.220703125, 7}};
        const Points second = {{2.5, 3}, {2.5, 6}, {16777.220703125, 9}};
        QCOMPARE(plot.curves(), (Curves{{"data 0", first}, {"data 2", second}, {"data 3", {}}}));
        plot.choose({2});
        QCOMPARE(plot.curves(), (Curves{{"data 2", second}}));
        plot.choose({0, 2});
        QCOMPARE(plot.curves(), (Curves{{"data 0", {}}, {"data 2", second}}));
    }

    void longCurvesKeepTheirPeaksAndFollowTheView()
    {
        Plot plot({0});
        plot.axisX->setRange(0, 3000);
        Points all;
        const auto add = [&](double x, int y) {
            all << QPointF(x, y);
            feed(plot.viewer, 0, unsigned(x * 1000), {y});
        };
        Points peaks;
        for (int index = 0; index < 3000; ++index) {
            const int peak = index % 97 == 0 ? 2000 : index % 97 == 50 ? -2000 : 0;
            add(index + 1, index * 7919 % 601 + peak);
            peaks << all.mid(index, peak != 0 ? 1 : 0);
            QVERIFY(index >= 2000 || plot.points() == all); // a short curve is there point by point
        }
        for (const QSize size : {plot.viewer.size(), QSize(450, 333)}) {
            plot.viewer.resize(size);
            QCoreApplication::processEvents();
            const Points held = plot.points();
            QVERIFY(held.size() <= 4 * plot.chart->plotArea().width());
            for (const QPointF& peak : peaks) {
                QVERIFY(held.contains(peak));
            }
        }
        plot.axisX->setRange(1000, 1010);
        // Where it comes in, what is there, where it leaves.
        QCOMPARE(plot.points(), Points{all[0]} + all.mid(998, 13));
        const Points before = plot.points();
        add(3001, 9); // beyond the view
        QCOMPARE(plot.points(), before);
        add(1005, 8); // the time begins anew
        QCOMPARE(plot.points(), before + all.mid(3000, 2));
        add(1, 8); // across the view, and out of it
        QCOMPARE(plot.points(), before + all.mid(3000, 3));
        // The curve crosses a gap from the last point before it, not from the column's peak.
        for (const int y : {0, 500, 300}) {
            add(1001, y);
        }
        add(1008, 0);
        QVERIFY(plot.points().endsWith(all.last()) && plot.points().contains(all[all.size() - 2]));
        plot.chart->setAnimationOptions(QChart::SeriesAnimations);
        plot.chart->scroll(10, 0);
        QCOMPARE(plot.chart->animationOptions(), QChart::SeriesAnimations);
    }

    // What each record adds to the screen gives the picture of a chart that draws all points.
    void curvesLookAsTheChartDrawsThem()
    {
        Plot plot({0});
        Plot drawnByChart({0});
        unsigned int time = 0;
        for (int record = 0; record < 160; ++record) {
            if (record == 140) {
                plot.choose({0, 1}); // the new curve covers the old one
                drawnByChart.choose({0, 1});
            }
            const int wave = record % 40 < 8 ? 0 : int(512 + 600 * std::sin(record * 0.3));
            time += record < 120 ? 300 : 4000;
            feed(plot.viewer, 0, time, {wave, 1000 - wave});
            QCoreApplication::processEvents();
        }
        for (QGraphicsItem* item : drawnByChart.chart->childItems()) {
            delete dynamic_cast<workbench::PlotCurve*>(item); // the chart is to do it
        }
        for (int curve = 0; curve < 2; ++curve) {
            auto* series = qobject_cast<QLineSeries*>(drawnByChart.chart->series()[curve]);
            series->replace(plot.curves()[series->name()]);
            QPen pen = series->pen();
            pen.setStyle(Qt::SolidLine);
            series->setPen(pen);
        }
        // As from the first click on. A curve that moved into the view would lie beside the axes.
        plot.chart->setAnimationOptions(QChart::SeriesAnimations);
        for (const Qt::Key key :
             {Qt::Key_A, Qt::Key_Up, Qt::Key_Minus, Qt::Key_Left, Qt::Key_Plus}) {
            QTest::keyClick(plot.view, key);
            QTest::keyClick(drawnByChart.view, key);
            QCoreApplication::processEvents();
            const QImage drawn = drawnByChart.viewer.grab().toImage();
            constexpr QRgb red = 0xff0000; // of which the curve and the texts have next to none
            QVERIFY(differenceOf(screenOf(plot.viewer), drawn, red) <= 20);
        }
    }

    void chartKeys()
    {
        const QRectF start(0, 0, 200, 1024);
        const Plot sample({0}); // a chart without a curve has nothing to zoom
        const QPointF pixel(
            200 / sample.chart->plotArea().width(), 1024 / sample.chart->plotArea().height());
        const QVector<QPair<QVector<Qt::Key>, QRectF>> rows = {
            {{Qt::Key_Plus}, {50, 256, 100, 512}},
            {{Qt::Key_Minus}, {-100, -512, 400, 2048}},
            {{Qt::Key_Left}, start.translated(-10 * pixel.x(), 0)},
            {{Qt::Key_Right}, start.translated(10 * pixel.x(), 0)},
            {{Qt::Key_Up}, start.translated(0, 10 * pixel.y())},
            {{Qt::Key_Down}, start.translated(0, -10 * pixel.y())},
            {{Qt::Key_A}, start},
            {{Qt::Key_Plus, Qt::Key_Left, Qt::Key_0}, start}};
        for (const auto& [keys, range] : rows) {
            Plot plot({0});
            for (const Qt::Key key : keys) {
                QTest::keyClick(plot.view, key);
            }
            QCOMPARE(plot.range(), range);
        }
    }

    void mouseOnTheChart()
    {
        Plot plot({0});
        QWidget* viewport = plot.view->viewport();
        const QWidget* panel = plot.viewer.findChild<QCheckBox*>()->parentWidget();
        const auto isAnimated = [&] {
            return plot.chart->animationOptions() == QChart::SeriesAnimations;
        };
        const QRect band = plot.chart->plotArea().toRect().adjusted(9, 9, -9, -9);
        QTest::mousePress(viewport, Qt::LeftButton, {}, band.topLeft());
        QMouseEvent drag(
            QEvent::MouseMove, band.center(), viewport->mapToGlobal(band.center()), Qt::NoButton,
            Qt::LeftButton, {});
        QCoreApplication::sendEvent(viewport, &drag);
        QTest::mouseRelease(viewport, Qt::LeftButton, {}, band.bottomRight());
        QVERIFY(plot.range().left() > 0 && plot.range().bottom() < 1024); // zoomed in
        QVERIFY(isAnimated());
        QTest::touchEvent(viewport, QTest::createTouchDevice()).press(0, QPoint(9, 9), plot.view);
        QVERIFY(!isAnimated());
        rightClick(*viewport); // the press does not reach the viewer
        QVERIFY(panel->isHidden());
        rightClick(*viewport);
        QVERIFY(!panel->isHidden());
        QVERIFY(isAnimated());
    }

private:
    TestHome home;
};

QTEST_MAIN(TestViewers)
#include "tst_viewers.moc"
