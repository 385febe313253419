// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/plotlines.h"

#include <QTest>
#include <QtCharts/QChartView>
#include <cmath>
#include <functional>
#include <memory>

namespace {

using namespace QtCharts;
using Points = QVector<QPointF>;

constexpr int lineCount = 3;

// Steps, noise and rare peaks, so that a wrong or missing segment shows.
int valueAt(int line, int index)
{
    const double wave = 400 * std::sin(index * 0.003 * (line + 1));
    return int(512 + wave) + index * 7919 * (line + 1) % 60 + (index % 977 == 0 ? 200 : 0);
}

// A chart with a few lines, drawn by PlotLines or by Qt alone.
struct Plot
{
    explicit Plot(bool withPlotLines)
    {
        chart->addAxis(axisX, Qt::AlignBottom);
        chart->addAxis(axisY, Qt::AlignLeft);
        axisX->setRange(0, 200);
        axisY->setRange(0, 1024);
        view.setRenderHint(QPainter::Antialiasing);
        view.resize(400, 300);
        view.show();
        if (withPlotLines) {
            lines = std::make_unique<PlotLines>(chart, axisX, axisY);
        }
        while (series.size() < lineCount) {
            addLine();
        }
    }

    void addLine()
    {
        series << new QLineSeries;
        chart->addSeries(series.last());
        series.last()->attachAxis(axisX);
        series.last()->attachAxis(axisY);
        if (lines) {
            lines->add(series.last());
        }
    }

    QImage picture()
    {
        for (int pass = 0; pass < 20; ++pass) { // long lines are painted piece by piece
            QCoreApplication::processEvents();
            view.grab();
        }
        return view.grab().toImage().convertToFormat(QImage::Format_RGB32);
    }

    QChart* chart = new QChart;
    QValueAxis* axisX = new QValueAxis;
    QValueAxis* axisY = new QValueAxis;
    QChartView view{chart};
    QVector<QLineSeries*> series;
    std::unique_ptr<PlotLines> lines;
};

// The largest difference of a colour in any pixel, 0 to 255.
int difference(const QImage& a, const QImage& b)
{
    int largest = 0;
    for (int byte = 0; byte < a.sizeInBytes(); ++byte) {
        largest = std::max(largest, std::abs(a.constBits()[byte] - b.constBits()[byte]));
    }
    return largest;
}

} // namespace

class TestPlotLines : public QObject
{
    Q_OBJECT

private slots:
    void historyBetween();
    void thinningKeepsTheExtremes();
    void looksLikeAChartOfAllPoints();
    void seriesHoldsAllOrWhatTheAxisShows();
};

void TestPlotLines::historyBetween()
{
    using Indexes = QVector<int>;
    const auto kept = [](const QVector<float>& xs) { // between 10 and 20
        LineHistory history;
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
    QCOMPARE(kept({0}), Indexes({0}));
    QCOMPARE(kept({0, 1, 2, 10, 20, 21, 22}), Indexes({0, 2, 3, 4, 5, 6}));
    QCOMPARE(kept({0, 1, 30, 31, 32}), Indexes({0, 1, 2, 4}));              // a leap across
    QCOMPARE(kept({15, 30, 40, 1, 2, 15}), Indexes({0, 1, 2, 3, 4, 5}));    // time begins anew
    QCOMPARE(kept(QVector<float>(1000, 9) << 15), Indexes({0, 999, 1000})); // whole blocks outside
}

void TestPlotLines::thinningKeepsTheExtremes()
{
    Points points = {{-0.1, 0}, {0, 5}, {0.1, 9}, {0.2, 5}, {0.3, 1}, {0.4, 5}, {1, 5}};
    const Points all = points;
    thinColumns(points, 0);
    QCOMPARE(points, all);
    thinColumns(points, 1);
    QCOMPARE(points, Points({all[0], all[1], all[2], all[4], all[5], all[6]}));
}

// Qt itself, given all points, is the reference.
void TestPlotLines::looksLikeAChartOfAllPoints()
{
    struct Step
    {
        int points;
        std::function<void(Plot&)> change;
        int tolerance;
    };
    // Two layers are blended instead of one, so that pixels may be rounded otherwise.
    constexpr int rounding = 12;
    const Step steps[] = {
        {400, [](Plot&) {}, 0},
        {700, [](Plot&) {}, rounding},
        {731, [](Plot&) {}, rounding}, // onto a picture that is there
        {731, [](Plot& plot) { plot.chart->zoomIn(); }, rounding},
        {12'000, [](Plot& plot) { plot.chart->scroll(2000, 30); }, rounding},
        {12'000, [](Plot& plot) { plot.axisX->setRange(0, 1500); }, rounding},
        {12'100, [](Plot& plot) { plot.addLine(); }, rounding},
        {12'100, [](Plot& plot) { plot.view.resize(517, 333); }, rounding},
        {12'100, [](Plot& plot) { plot.chart->zoomReset(); }, rounding},
    };
    Plot plain(false);
    Plot fast(true);
    Points all[lineCount];
    for (const Step& step : steps) {
        step.change(plain);
        step.change(fast);
        while (all[0].size() < step.points) {
            const int index = all[0].size();
            const float x = float(index) * 0.1F;
            for (int line = 0; line < lineCount; ++line) {
                all[line] << QPointF(double(x), valueAt(line, index));
                fast.lines->append(fast.series[line], x, valueAt(line, index));
            }
        }
        for (int line = 0; line < lineCount; ++line) {
            plain.series[line]->replace(all[line]);
        }
        const int found = difference(plain.picture(), fast.picture());
        const qptrdiff number = &step - steps;
        QVERIFY2(
            found <= step.tolerance,
            qPrintable(QStringLiteral("step %1 differs by %2").arg(number).arg(found)));
    }
}

void TestPlotLines::seriesHoldsAllOrWhatTheAxisShows()
{
    Plot plot(true);
    QLineSeries* series = plot.series[0];
    auto feed = [&, fed = 0](int points) mutable {
        for (; fed < points; ++fed) {
            plot.lines->append(series, float(fed) * 0.1F, fed % 1000);
        }
    };
    feed(10'000);
    QCOMPARE(series->count(), 10'000);
    QCOMPARE(series->at(9'999), QPointF(double(9'999 * 0.1F), 999));
    feed(288'000);
    QVERIFY2(series->count() < 3'000, qPrintable(QString::number(series->count())));
    plot.axisX->setRange(28'790, 28'799);
    const Points shown = series->pointsVector();
    for (int index = 287'900; index <= 287'990; ++index) {
        QVERIFY(shown.contains(QPointF(double(float(index) * 0.1F), index % 1000)));
    }
    feed(288'010); // beyond the axis
    QCOMPARE(series->count(), shown.size());
    for (QLineSeries* line : plot.series) {
        plot.lines->remove(line);
        plot.chart->removeSeries(line);
        delete line;
    }
    plot.addLine(); // Qt draws short lines again
    plot.lines->append(plot.series.last(), 0, 1);
    QVERIFY(plot.series.last()->pen().style() != Qt::NoPen);
}

QTEST_MAIN(TestPlotLines)
#include "tst_plotlines.moc"
