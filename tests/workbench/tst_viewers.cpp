// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/testhome.h"
#include "workbench/chartview.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QCheckBox>
#include <QLabel>
#include <QLayout>
#include <QSettings>
#include <QTest>
#include <QtCharts/QChart>

namespace {

using namespace QtCharts;

template <typename Viewer>
void feed(Viewer& viewer, unsigned int sample, unsigned int time, std::vector<int> values)
{
    viewer.update(sample, time, values);
}

QStringList textsOf(const QWidget& viewer)
{
    QStringList texts;
    for (const QLabel* label : viewer.findChildren<QLabel*>()) {
        texts << label->text();
    }
    return texts;
}

QVector<bool> visibility(const QWidget& viewer)
{
    QVector<bool> shown;
    for (const QLabel* label : viewer.findChildren<QLabel*>()) {
        shown << !label->isHidden();
    }
    for (const QCheckBox* check : viewer.findChildren<QCheckBox*>()) {
        shown << !check->isHidden();
    }
    return shown;
}

void check(QWidget& viewer, const QVector<int>& rows)
{
    const QList<QCheckBox*> boxes = viewer.findChildren<QCheckBox*>();
    for (int row = 0; row < boxes.size(); ++row) {
        boxes[row]->setChecked(rows.contains(row));
    }
}

QMap<QString, QVector<QPointF>> linesOf(const PlotViewer& viewer)
{
    QMap<QString, QVector<QPointF>> lines;
    for (QAbstractSeries* series : viewer.findChild<ChartView*>()->chart()->series()) {
        lines[series->name()] = qobject_cast<QLineSeries*>(series)->pointsVector();
    }
    return lines;
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

} // namespace

class TestViewers : public QObject
{
    Q_OBJECT

private slots:
    void valuesAndNames();
    void valueViewerRoundTripOfViews();
    void textsKeepTheirRoom();
    void plotViewerRows();
    void plotViewerLines();
    void chartKeys_data();
    void chartKeys();
    void touchingSwallowsTheMouse();

private:
    TestHome home;
};

void TestViewers::valuesAndNames()
{
    ValueViewer viewer;
    QCOMPARE(textsOf(viewer), QStringList({"SeqNo: ", "Timestamp: "}));
    feed(viewer, 4294967295U, 4294967294U, {0, -7});
    const QStringList two = {
        "SeqNo: 4294967295", "Timestamp: 4294967294", "data 1", "0", "data 2", "-7"};
    QCOMPARE(textsOf(viewer), two);
    {
        QSettings settings("Zelmark-Tuning", "DataLogger");
        settings.setValue("ui/channels/1/label", "too late");
        settings.setValue("ui/channels/2/label", "Oil");
    }
    feed(viewer, 1, 2, {5, 6, 2147483647});
    QCOMPARE(
        textsOf(viewer),
        QStringList(
            {"SeqNo: 1", "Timestamp: 2", "data 1", "5", "data 2", "6", "Oil", "2147483647"}));
    feed(viewer, 2, 3, {9}); // rows stay, and so do their values
    QCOMPARE(textsOf(viewer).mid(3, 3), QStringList({"9", "data 2", "6"}));
    QSettings("Zelmark-Tuning", "DataLogger").clear();
}

void TestViewers::valueViewerRoundTripOfViews()
{
    ValueViewer viewer;
    feed(viewer, 1, 1, {1, 2});
    viewer.show();
    QCoreApplication::processEvents();
    check(viewer, {1});
    const QVector<bool> all(8, true);
    const QVector<bool> reading = {true, true, false, false, true, true, false, false};
    // The viewer begins as if it were in the reading view, so that the first click hides nothing.
    for (const QVector<bool>& expected : {all, reading, all}) {
        QTest::mouseClick(&viewer, Qt::LeftButton);
        rightClick(viewer);
        QCOMPARE(visibility(viewer), expected);
    }
    rightClick(viewer);
    feed(viewer, 2, 2, {7, 8, 9});
    QCoreApplication::processEvents();
    QCOMPARE(visibility(viewer).mid(6), QVector<bool>({true, true, false, false, true}));
    QCOMPARE(textsOf(viewer)[3], QString("7")); // hidden, and up to date
}

// The grid is only laid out when a column needs more or less room: nothing may look otherwise.
void TestViewers::textsKeepTheirRoom()
{
    ValueViewer viewer;
    viewer.resize(300, 200);
    viewer.show();
    for (const int value : {1, -1, 1234567, 7654321, -1234567, -2147483647, 5}) {
        feed(viewer, 99, 1, {value, 3, -value});
        QCoreApplication::processEvents();
        const QImage shown = viewer.grab().toImage();
        viewer.layout()->invalidate();
        viewer.layout()->activate();
        QVERIFY2(viewer.grab().toImage() == shown, qPrintable(QString::number(value)));
    }
}

void TestViewers::plotViewerRows()
{
    PlotViewer viewer;
    const QStringList five = {"data 0", "data 1", "data 2", "data 3", "data 4"};
    feed(viewer, 1, 1, {1, 2, 3});
    QCOMPARE(textsOf(viewer), five);
    feed(viewer, 1, 1, std::vector<int>(7));
    QCOMPARE(textsOf(viewer), five + QStringList({"data 6", "data 7"}));
}

void TestViewers::plotViewerLines()
{
    PlotViewer viewer;
    viewer.show();
    QWidget* panel = viewer.findChild<QCheckBox*>()->parentWidget();
    QVERIFY(panel->isHidden());
    rightClick(viewer);
    QVERIFY(!panel->isHidden());
    check(viewer, {0, 2, 4});
    QCOMPARE(linesOf(viewer).size(), 0); // not before the panel is closed
    rightClick(viewer);
    QVERIFY(panel->isHidden());

    feed(viewer, 25, 0, {1, 2, 3});
    feed(viewer, 26, 2500, {-4, 5, 6});
    feed(viewer, 27, 16777217, {7, 8, 9}); // more than a float can count
    using Points = QVector<QPointF>;
    QMap<QString, Points> lines = {
        {"data 0", {{2.5, 1}, {2.5, -4}, {16777.216796875, 7}}},
        {"data 2", {{2.5, 3}, {2.5, 6}, {16777.216796875, 9}}},
        {"data 4", {}}};
    QCOMPARE(linesOf(viewer), lines);

    choose(viewer, {2});
    QCOMPARE(linesOf(viewer), (QMap<QString, Points>{{"data 2", lines["data 2"]}}));
    choose(viewer, {0, 2});
    lines["data 0"].clear(); // begins anew
    lines.remove("data 4");
    QCOMPARE(linesOf(viewer), lines);
}

void TestViewers::chartKeys_data()
{
    QTest::addColumn<Qt::Key>("key");
    QTest::addColumn<QPointF>("corner"); // of the view, in shares of its size, from the lower left
    QTest::addColumn<double>("width");
    QTest::newRow("zoom in") << Qt::Key_Plus << QPointF(0.25, 0.25) << 0.5;
    QTest::newRow("zoom out") << Qt::Key_Minus << QPointF(-0.5, -0.5) << 2.0;
    QTest::newRow("left by 10 pixels") << Qt::Key_Left << QPointF(-10, 0) << 1.0;
    QTest::newRow("right") << Qt::Key_Right << QPointF(10, 0) << 1.0;
    QTest::newRow("up") << Qt::Key_Up << QPointF(0, 10) << 1.0;
    QTest::newRow("down") << Qt::Key_Down << QPointF(0, -10) << 1.0;
    QTest::newRow("another key") << Qt::Key_A << QPointF(0, 0) << 1.0;
}

void TestViewers::chartKeys()
{
    QFETCH(Qt::Key, key);
    QFETCH(QPointF, corner);
    QFETCH(double, width);
    PlotViewer viewer;
    viewer.show();
    choose(viewer, {0}); // a chart without a line has nothing to zoom
    QCoreApplication::processEvents();
    auto* view = viewer.findChild<ChartView*>();
    const QRectF plot = view->chart()->plotArea();
    if (width == 1.0) { // pixels
        corner = QPointF(corner.x() / plot.width(), corner.y() / plot.height());
    }
    const auto* axisX = qobject_cast<QValueAxis*>(view->chart()->axes(Qt::Horizontal).first());
    const auto* axisY = qobject_cast<QValueAxis*>(view->chart()->axes(Qt::Vertical).first());
    QTest::keyClick(view, key);
    QCOMPARE(axisX->min(), 200 * corner.x());
    QCOMPARE(axisX->max(), 200 * (corner.x() + width));
    QCOMPARE(axisY->min(), 1024 * corner.y());
    QCOMPARE(axisY->max(), 1024 * (corner.y() + width));
    QTest::keyClick(view, Qt::Key_0);
    if (width != 1.0) {
        QCOMPARE(axisX->max(), 200.0);
    }
}

void TestViewers::touchingSwallowsTheMouse()
{
    PlotViewer viewer;
    viewer.show();
    auto* view = viewer.findChild<ChartView*>();
    const auto options = [view] { return int(view->chart()->animationOptions()); };
    QTest::mouseRelease(view->viewport(), Qt::LeftButton);
    QCOMPARE(options(), int(QChart::SeriesAnimations));
    QTouchDevice* device = QTest::createTouchDevice();
    QTest::touchEvent(view->viewport(), device).press(0, QPoint(10, 10), view->viewport());
    QCOMPARE(options(), int(QChart::NoAnimation));
    rightClick(*view->viewport()); // the press does not reach the viewer
    QVERIFY(viewer.findChild<QCheckBox*>()->parentWidget()->isHidden());
    rightClick(*view->viewport());
    QVERIFY(!viewer.findChild<QCheckBox*>()->parentWidget()->isHidden());
    QCOMPARE(options(), int(QChart::SeriesAnimations));
}

QTEST_MAIN(TestViewers)
#include "tst_viewers.moc"
