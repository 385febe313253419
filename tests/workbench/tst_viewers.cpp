// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/testhome.h"
#include "workbench/chartview.h"
#include "workbench/linehistory.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QMouseEvent>
#include <QScopeGuard>
#include <QScreen>
#include <QSettings>
#include <QTest>
#include <QtCharts/QChart>
#include <cmath>
#include <functional>

namespace {

using namespace QtCharts;
using Points = QVector<QPointF>;
using Lines = QMap<QString, Points>;

template <typename Viewer>
void feed(Viewer& viewer, unsigned int sample, unsigned int time, std::vector<int> values)
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

void check(QWidget& viewer, const QVector<int>& rows)
{
    const QList<QCheckBox*> boxes = viewer.findChildren<QCheckBox*>();
    for (int row = 0; row < boxes.size(); ++row) {
        boxes[row]->setChecked(rows.contains(row));
    }
}

void rightClick(QWidget& viewer)
{
    QTest::mouseClick(&viewer, Qt::RightButton, {}, QPoint(1, 1));
}

QImage onScreen(const QWidget& window)
{
    const QPixmap picture = window.screen()->grabWindow(window.winId());
    return picture.toImage().convertToFormat(QImage::Format_RGB32);
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
        check(viewer, rows);
        rightClick(viewer);
    }

    QLineSeries* series(int index) { return qobject_cast<QLineSeries*>(chart->series()[index]); }

    Lines lines()
    {
        Lines lines;
        for (int index = 0; index < chart->series().size(); ++index) {
            lines[series(index)->name()] = series(index)->pointsVector();
        }
        return lines;
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

// The largest difference of a colour in any pixel, 0 to 255.
int difference(const QImage& a, const QImage& b)
{
    int largest = a.size() == b.size() ? 0 : 255;
    for (int byte = 0; largest < 255 && byte < a.sizeInBytes(); ++byte) {
        largest = std::max(largest, std::abs(a.constBits()[byte] - b.constBits()[byte]));
    }
    return largest;
}

// Steps, noise and rare peaks, so that a wrong or missing segment shows.
int valueAt(int line, int index)
{
    const double wave = 400 * std::sin(index * 0.003 * (line + 1));
    const int step = index < 700 ? 300 : 0;
    return int(512 + wave) + index * 7919 * (line + 1) % 60 + (index % 977 == 0 ? 200 : 0) - step;
}

} // namespace

class TestViewers : public QObject
{
    Q_OBJECT

private slots:
    void valuesAndNames();
    void setupAndReadingView();
    void textsKeepTheirRoom();
    void plotViewerLines();
    void pointsThatCount();
    void looksLikeAChartOfAllPoints();
    void seriesHoldsAllOrWhatTheAxisShows();
    void chartKeys();
    void mouseOnTheChart();

private:
    TestHome home;
};

void TestViewers::valuesAndNames()
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
    const auto leave = qScopeGuard([&store] { store.clear(); });
    feed(plot, 1, 1, {1, 2, 3});
    QCOMPARE(textsOf(plot), QString("data 0|data 1|data 2|data 3|data 4"));
    feed(plot, 1, 1, std::vector<int>(7));
    QCOMPARE(textsOf(plot), QString("data 0|data 1|data 2|data 3|data 4|Oil|data 7"));
    feed(values, 1, 2, {1, 2, 3, 4, 5, 2147483647});
    QVERIFY(
        textsOf(values).endsWith("data 1|1|data 2|2|data 3|3|data 4|4|data 5|5|Oil|2147483647"));
    feed(values, 2, 3, {0}); // rows stay, and so do their values
    QVERIFY(textsOf(values).startsWith("SeqNo: 2|Timestamp: 3|data 1|0|data 2|2|"));
}

void TestViewers::setupAndReadingView()
{
    ValueViewer viewer;
    viewer.show();
    feed(viewer, 1, 1, {1, 2});
    QCoreApplication::processEvents();
    viewer.findChild<QCheckBox*>()->setChecked(false);
    const QString all = "SeqNo: 1|Timestamp: 1|data 1|1|data 2|2";
    const QString reading = "SeqNo: 1|Timestamp: 1|(data 1)|(1)|data 2|2";
    // The viewer begins as if it were in the reading view, so that the first click hides nothing.
    for (const QString& expected : {all, reading, all, reading}) {
        QTest::mouseClick(&viewer, Qt::LeftButton);
        rightClick(viewer);
        QCOMPARE(textsOf(viewer), expected);
        QCOMPARE(viewer.findChild<QCheckBox*>()->isHidden(), expected == reading);
    }
    feed(viewer, 1, 1, {7, 8, 9});
    QCoreApplication::processEvents();
    QCOMPARE(textsOf(viewer), QString("SeqNo: 1|Timestamp: 1|(data 1)|(7)|data 2|8|data 3|9"));
    QVERIFY(!viewer.findChildren<QCheckBox*>().last()->isHidden());
}

// The grid is only laid out when a column needs more or less room, and only what changed is
// painted: nothing may look otherwise.
void TestViewers::textsKeepTheirRoom()
{
    ValueViewer viewer;
    viewer.resize(1, 1);
    viewer.show();
    const auto expected = [&] {
        return viewer.grab().toImage().convertToFormat(QImage::Format_RGB32);
    };
    for (const int value : {1, -1, 1234567, 7654321, -1234567, -2147483647, 5}) {
        feed(viewer, 1, unsigned(value), {value, 3, -value});
        QCoreApplication::processEvents();
        QTRY_VERIFY(onScreen(viewer) == expected());
        for (const QLabel* label : viewer.findChildren<QLabel*>()) {
            QVERIFY(label->width() >= label->sizeHint().width());
        }
        viewer.layout()->invalidate();
        viewer.layout()->activate();
        QVERIFY2(onScreen(viewer) == expected(), qPrintable(QString::number(value)));
    }
}

void TestViewers::plotViewerLines()
{
    Plot plot;
    rightClick(plot.viewer);
    check(plot.viewer, {0, 2, 3});
    QTest::mouseClick(&plot.viewer, Qt::LeftButton, {}, QPoint(1, 1));
    QCOMPARE(plot.lines(), Lines()); // not before the panel is closed
    rightClick(plot.viewer);
    feed(plot.viewer, 25, 0, {1, 2, 3});
    feed(plot.viewer, 26, 2500, {-4, 5, 6});
    feed(plot.viewer, 27, 16777219, {7, 8, 9}); // more than a float can count
    const Points second = {{2.5, 3}, {2.5, 6}, {16777.220703125, 9}};
    QCOMPARE(
        plot.lines(), (Lines{
                          {"data 0", {{2.5, 1}, {2.5, -4}, {16777.220703125, 7}}},
                          {"data 2", second},
                          {"data 3", {}}}));
    plot.choose({2});
    QCOMPARE(plot.lines(), (Lines{{"data 2", second}}));
    plot.choose({0, 2});
    QCOMPARE(plot.lines(), (Lines{{"data 0", {}}, {"data 2", second}}));
}

void TestViewers::pointsThatCount()
{
    using Indexes = QVector<int>;
    const auto kept = [](const QVector<float>& xs) { // between 10 and 20
        workbench::LineHistory history;
        for (int index = 0; index < xs.size(); ++index) {
            history.append(xs[index], index);
        }
        Indexes indexes;
        for (const QPointF& point : history.between(10, 20)) {
            indexes << int(point.y());
        }
        return indexes;
    };
    QCOMPARE(kept({}), Indexes());
    QCOMPARE(kept({0, 1, 2, 10, 20, 21, 22}), Indexes({0, 2, 3, 4, 5, 6}));
    QCOMPARE(kept({0, 1, 30, 31, 32}), Indexes({0, 1, 2, 4}));              // a leap across
    QCOMPARE(kept({15, 30, 40, 1, 2, 15}), Indexes({0, 1, 2, 3, 4, 5}));    // time begins anew
    QCOMPARE(kept(QVector<float>(1000, 9) << 15), Indexes({0, 999, 1000})); // whole blocks outside
    Points column = {{2.0, 5}, {2.1, 6}, {2.2, 9}, {2.3, 1}, {2.4, 5}, {2.5, 4}, {3.0, 2}};
    workbench::thinColumns(column, 1);
    QCOMPARE(column, Points({{2.0, 5}, {2.2, 9}, {2.3, 1}, {2.5, 4}, {3.0, 2}}));
}

// A chart whose series are given all points at once is drawn by Qt itself: the reference.
void TestViewers::looksLikeAChartOfAllPoints()
{
    static const QVector<int> fourLines = {0, 1, 2, 3};
    const QVector<QPair<int, std::function<void(Plot&)>>> steps = {
        {400, [](Plot&) {}},
        {700, [](Plot&) {}},
        {731, [](Plot&) {}}, // onto a picture that is there
        {731, [](Plot& plot) { plot.chart->zoomIn(); }},
        {12'000, [](Plot& plot) { plot.chart->scroll(2000, 30); }},
        {12'200, [](Plot& plot) { plot.choose(fourLines); }},
        {12'200, [](Plot& plot) { plot.viewer.resize(517, 333); }},
        {12'200, [](Plot& plot) { plot.chart->zoomReset(); }},
        {50'000, [](Plot& plot) { plot.axisX->setRange(0, 4000); }}, // painted piece by piece
    };
    Plot plain({0, 1, 2});
    Plot fast({0, 1, 2});
    Points all[4];
    int fed = 0;
    for (const auto& [points, change] : steps) {
        change(plain);
        change(fast);
        const int lines = fast.chart->series().size();
        for (; fed < points; ++fed) {
            // The controller restarts, and its time begins anew.
            const auto time = unsigned(fed < 12'050 ? fed : fed - 12'000) * 100U + 1;
            std::vector<int> values(4);
            for (int line = 0; line < lines; ++line) {
                values[line] = valueAt(line, fed);
                all[line] << QPointF(double(float(time) / 1000.0F), values[line]);
            }
            feed(fast.viewer, 0, time, values);
        }
        for (int line = 0; line < lines; ++line) {
            plain.series(line)->replace(all[line]);
        }
        QCoreApplication::processEvents();
        plain.view->viewport()->repaint();
        const QImage reference = onScreen(plain.viewer);
        // Two layers are blended instead of one, so that pixels may be rounded otherwise.
        const int rounding = points > 500 ? 12 : 0;
        QTRY_VERIFY(difference(reference, onScreen(fast.viewer)) <= rounding);
    }
}

void TestViewers::seriesHoldsAllOrWhatTheAxisShows()
{
    Plot plot({0});
    const auto held = [&] { return plot.series(0)->pointsVector(); };
    const auto add = [&](double x, int y) { feed(plot.viewer, 0, unsigned(x * 1000), {y}); };
    Points all;
    while (all.size() < 20'000) {
        all << QPointF(all.size() * 0.5 + 0.5, valueAt(0, all.size()));
        add(all.last().x(), int(all.last().y()));
        QVERIFY(all.size() != 10'000 || held() == all);
    }
    QVERIFY(held().size() < 3'000);
    plot.axisX->setRange(9'000, 9'100);
    const Points shown = held();
    QCOMPARE(shown.mid(shown.indexOf(all[17'999]), 201), all.mid(17'999, 201));
    add(10'001, 7); // beyond the axis
    QCOMPARE(held(), shown);
    add(9'050, 5); // the time begins anew
    QCOMPARE(held(), shown + Points({{10'001, 7}, {9'050, 5}}));
    plot.chart->setAnimationOptions(QChart::SeriesAnimations);
    plot.chart->zoomIn();
    QCOMPARE(plot.chart->animationOptions(), QChart::NoAnimation); // nobody would see it
    QTRY_COMPARE(plot.chart->animationOptions(), QChart::SeriesAnimations);
    plot.choose({});
    plot.choose({0});
    add(1, 1);
    QVERIFY(plot.series(0)->pen().style() != Qt::NoPen); // Qt draws short lines again
}

void TestViewers::chartKeys()
{
    Plot plot({0}); // a chart without a line has nothing to zoom
    const double pixelX = 200 / plot.chart->plotArea().width();
    const double pixelY = 1024 / plot.chart->plotArea().height();
    const QRectF start(0, 0, 200, 1024);
    const QVector<QPair<Qt::Key, QRectF>> keys = {
        {Qt::Key_Plus, {50, 256, 100, 512}},
        {Qt::Key_Minus, {-100, -512, 400, 2048}},
        {Qt::Key_Left, start.translated(-10 * pixelX, 0)},
        {Qt::Key_Right, start.translated(10 * pixelX, 0)},
        {Qt::Key_Up, start.translated(0, 10 * pixelY)},
        {Qt::Key_Down, start.translated(0, -10 * pixelY)},
        {Qt::Key_A, start}};
    for (const auto& key : keys) {
        QTest::keyClick(plot.view, key.first);
        QCOMPARE(plot.range(), key.second);
        plot.axisX->setRange(0, 200);
        plot.axisY->setRange(0, 1024);
    }
    for (const Qt::Key key : {Qt::Key_Plus, Qt::Key_Left, Qt::Key_0}) {
        QTest::keyClick(plot.view, key);
    }
    QCOMPARE(plot.range(), start);
}

void TestViewers::mouseOnTheChart()
{
    Plot plot({0});
    QWidget* viewport = plot.view->viewport();
    const QWidget* panel = plot.viewer.findChild<QCheckBox*>()->parentWidget();
    const auto isAnimated = [&] {
        return plot.chart->animationOptions() == QChart::SeriesAnimations;
    };
    const QRect band = plot.chart->plotArea().toRect().adjusted(9, 9, -9, -9);
    QTest::mousePress(viewport, Qt::LeftButton, {}, band.topLeft());
    QMouseEvent drag(QEvent::MouseMove, band.center(), Qt::NoButton, Qt::LeftButton, {});
    QCoreApplication::sendEvent(viewport, &drag);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, band.bottomRight());
    QVERIFY(plot.range().left() > 0 && plot.range().bottom() < 1024); // zoomed into the rectangle
    QVERIFY(isAnimated());
    QTest::touchEvent(viewport, QTest::createTouchDevice()).press(0, QPoint(9, 9), plot.view);
    QVERIFY(!isAnimated());
    rightClick(*viewport); // the press does not reach the viewer
    QVERIFY(panel->isHidden());
    rightClick(*viewport);
    QVERIFY(!panel->isHidden());
    QVERIFY(isAnimated());
}

QTEST_MAIN(TestViewers)
#include "tst_viewers.moc"
