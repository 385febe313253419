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
    const int step = index < 700 ? 300 : 0;
    return int(512 + wave) + index * 7919 * (line + 1) % 60 + (index % 977 == 0 ? 200 : 0) - step;
}

// The controller restarts, and its time begins anew.
float timeAt(int index)
{
    return float(index < 12'050 ? index : index - 12'000) * 0.1F;
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

// Qt itself, given all points, is the reference.
void TestPlotLines::looksLikeAChartOfAllPoints()
{
    struct Step
    {
        int points;
        std::function<void(Plot&)> change;
    };
    const Step steps[] = {
        {400, [](Plot&) {}},
        {700, [](Plot&) {}},
        {731, [](Plot&) {}}, // onto a picture that is there
        {731, [](Plot& plot) { plot.chart->zoomIn(); }},
        {12'000, [](Plot& plot) { plot.chart->scroll(2000, 30); }},
        {12'000, [](Plot& plot) { plot.axisX->setRange(0, 1500); }},
        {12'200, [](Plot& plot) { plot.addLine(); }},
        {12'200, [](Plot& plot) { plot.view.resize(517, 333); }},
        {12'200, [](Plot& plot) { plot.chart->zoomReset(); }},
    };
    Plot plain(false);
    Plot fast(true);
    Points all[lineCount];
    for (const Step& step : steps) {
        step.change(plain);
        step.change(fast);
        while (all[0].size() < step.points) {
            const int index = all[0].size();
            const float x = timeAt(index);
            for (int line = 0; line < lineCount; ++line) {
                all[line] << QPointF(double(x), valueAt(line, index));
                fast.lines->append(fast.series[line], x, valueAt(line, index));
            }
        }
        for (int line = 0; line < lineCount; ++line) {
            plain.series[line]->replace(all[line]);
        }
        // Two layers are blended instead of one, so that pixels may be rounded otherwise.
        const int rounding = step.points > 500 ? 12 : 0;
        QCOMPARE(std::max(difference(plain.picture(), fast.picture()), rounding), rounding);
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
    plot.lines->append(series, 28'795, 5); // the time begins anew
    QCOMPARE(
        series->pointsVector().mid(shown.size()),
        Points({{double(288'009 * 0.1F), 9}, {28'795, 5}}));
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
