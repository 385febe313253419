// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/testhome.h"
#include "workbench/chartview.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QScopeGuard>
#include <QSettings>
#include <QTest>
#include <QtCharts/QChart>

namespace {

using namespace QtCharts;
using Lines = QMap<QString, QVector<QPointF>>;

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

void choose(PlotViewer& viewer, const QVector<int>& rows)
{
    rightClick(viewer);
    check(viewer, rows);
    rightClick(viewer);
}

Lines linesOf(const PlotViewer& viewer)
{
    Lines lines;
    for (QAbstractSeries* series : viewer.findChild<ChartView*>()->chart()->series()) {
        lines[series->name()] = qobject_cast<QLineSeries*>(series)->pointsVector();
    }
    return lines;
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
    void chartKeys();
    void touchingSwallowsTheMouse();

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
    feed(values, 2, 3, {9}); // rows stay, and so do their values
    QVERIFY(textsOf(values).startsWith("SeqNo: 2|Timestamp: 3|data 1|9|data 2|2|"));
}

void TestViewers::setupAndReadingView()
{
    ValueViewer viewer;
    viewer.show();
    feed(viewer, 1, 1, {1, 2});
    QCoreApplication::processEvents();
    check(viewer, {1});
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

// The grid is only laid out when a column needs more or less room: nothing may look otherwise.
void TestViewers::textsKeepTheirRoom()
{
    ValueViewer viewer;
    viewer.show();
    for (const int value : {1, -1, 1234567, 7654321, -1234567, -2147483647, 5}) {
        feed(viewer, 1, unsigned(value), {value, 3, -value});
        QCoreApplication::processEvents();
        const QImage shown = viewer.grab().toImage();
        viewer.layout()->invalidate();
        viewer.layout()->activate();
        QVERIFY2(viewer.grab().toImage() == shown, qPrintable(QString::number(value)));
    }
}

void TestViewers::plotViewerLines()
{
    PlotViewer viewer;
    viewer.show();
    rightClick(viewer);
    check(viewer, {0, 2, 4});
    QCOMPARE(linesOf(viewer), Lines()); // not before the panel is closed
    rightClick(viewer);
    feed(viewer, 25, 0, {1, 2, 3});
    feed(viewer, 26, 2500, {-4, 5, 6});
    feed(viewer, 27, 16777217, {7, 8, 9}); // more than a float can count
    Lines lines = {
        {"data 0", {{2.5, 1}, {2.5, -4}, {16777.216796875, 7}}},
        {"data 2", {{2.5, 3}, {2.5, 6}, {16777.216796875, 9}}},
        {"data 4", {}}};
    QCOMPARE(linesOf(viewer), lines);
    choose(viewer, {2});
    QCOMPARE(linesOf(viewer), (Lines{{"data 2", lines["data 2"]}}));
    choose(viewer, {0, 2});
    QCOMPARE(linesOf(viewer), (Lines{{"data 0", {}}, {"data 2", lines["data 2"]}}));
}

void TestViewers::chartKeys()
{
    PlotViewer viewer;
    viewer.show();
    choose(viewer, {0}); // a chart without a line has nothing to zoom
    QCoreApplication::processEvents();
    auto* view = viewer.findChild<ChartView*>();
    auto* axisX = qobject_cast<QValueAxis*>(view->chart()->axes(Qt::Horizontal).first());
    auto* axisY = qobject_cast<QValueAxis*>(view->chart()->axes(Qt::Vertical).first());
    const double pixelX = 200 / view->chart()->plotArea().width();
    const double pixelY = 1024 / view->chart()->plotArea().height();
    struct Row
    {
        Qt::Key key;
        QRectF range; // of both axes
    };
    const QRectF start(0, 0, 200, 1024);
    for (const Row& row :
         {Row{Qt::Key_Plus, {50, 256, 100, 512}}, Row{Qt::Key_Minus, {-100, -512, 400, 2048}},
          Row{Qt::Key_Left, start.translated(-10 * pixelX, 0)},
          Row{Qt::Key_Right, start.translated(10 * pixelX, 0)},
          Row{Qt::Key_Up, start.translated(0, 10 * pixelY)},
          Row{Qt::Key_Down, start.translated(0, -10 * pixelY)}, Row{Qt::Key_A, start}}) {
        QTest::keyClick(view, row.key);
        QCOMPARE(
            QRectF(QPointF(axisX->min(), axisY->min()), QPointF(axisX->max(), axisY->max())),
            row.range);
        axisX->setRange(0, 200);
        axisY->setRange(0, 1024);
    }
    QTest::keyClick(view, Qt::Key_Plus);
    QTest::keyClick(view, Qt::Key_0);
    QCOMPARE(axisX->max(), 200.0);
}

void TestViewers::touchingSwallowsTheMouse()
{
    PlotViewer viewer;
    viewer.show();
    auto* view = viewer.findChild<ChartView*>();
    const QWidget* panel = viewer.findChild<QCheckBox*>()->parentWidget();
    const auto isAnimated = [view] {
        return view->chart()->animationOptions() == QChart::SeriesAnimations;
    };
    QTest::mouseRelease(view->viewport(), Qt::LeftButton);
    QVERIFY(isAnimated());
    QTest::touchEvent(view->viewport(), QTest::createTouchDevice()).press(0, QPoint(9, 9), view);
    QVERIFY(!isAnimated());
    rightClick(*view->viewport()); // the press does not reach the viewer
    QVERIFY(panel->isHidden());
    rightClick(*view->viewport());
    QVERIFY(!panel->isHidden());
    QVERIFY(isAnimated());
}

QTEST_MAIN(TestViewers)
#include "tst_viewers.moc"
