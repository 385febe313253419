// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/linehistory.h"
#include "workbench/plotlines.h"

#include <QTest>
#include <QtCharts/QChartView>
#include <cmath>
#include <memory>

namespace {

using namespace QtCharts;

constexpr int lineCount = 3;

// Steps, noise and rare peaks, so that a wrong or missing segment shows.
int valueAt(int line, int index)
{
    const double wave = 400 * std::sin(index * 0.003 * (line + 1));
    return int(512 + wave) + index * 7919 * (line + 1) % 60 + (index % 977 == 0 ? 200 : 0);
}

// A chart of a few lines, drawn by PlotLines or by Qt alone.
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
        if (withPlotLines) {
            lines = std::make_unique<PlotLines>(chart, axisX, axisY);
        }
        for (int line = 0; line < lineCount; ++line) {
            series << new QLineSeries;
            chart->addSeries(series.last());
            series.last()->attachAxis(axisX);
            series.last()->attachAxis(axisY);
            if (lines) {
                lines->add(series.last());
            }
        }
        view.show();
        shown = QTest::qWaitForWindowExposed(&view);
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
    bool shown = false;
};

// The largest difference of a colour in any pixel, 0 to 255.
int difference(const QImage& a, const QImage& b)
{
    int largest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QColor left = a.pixelColor(x, y);
            const QColor right = b.pixelColor(x, y);
            largest = std::max(
                {largest, std::abs(left.red() - right.red()),
                 std::abs(left.green() - right.green()), std::abs(left.blue() - right.blue())});
        }
    }
    return largest;
}

} // namespace

class TestPlotLines : public QObject
{
    Q_OBJECT

private slots:
    void historyBetween_data();
    void historyBetween();
    void thinningKeepsTheExtremes();
    void looksLikeAChartOfAllPoints();
    void seriesHoldsAllOrWhatTheAxisShows();
    void lineThatIsAddedLater();
};

void TestPlotLines::historyBetween_data()
{
    QTest::addColumn<QVector<float>>("xs");
    QTest::addColumn<QVector<int>>("kept"); // indexes
    using Xs = QVector<float>;
    using Indexes = QVector<int>;
    QTest::newRow("empty") << Xs{} << Indexes{};
    QTest::newRow("one, outside") << Xs{0} << Indexes{0};
    QTest::newRow("through") << Xs{0, 1, 2, 10, 15, 20, 21, 22} << Indexes{0, 2, 3, 4, 5, 6, 7};
    QTest::newRow("leaps over the span") << Xs{0, 1, 30, 31, 32} << Indexes{0, 1, 2, 4};
    QTest::newRow("time begins anew") << Xs{15, 30, 40, 1, 2, 15} << Indexes{0, 1, 2, 3, 4, 5};
    Xs ramp;
    for (int index = 0; index < 2000; ++index) {
        ramp << float(index) * 0.1F; // inside from index 100 on
    }
    Indexes inside{0};
    for (int index = 99; index <= 201; ++index) {
        inside << index;
    }
    QTest::newRow("blocks outside are passed over") << ramp << (inside << 1999);
}

void TestPlotLines::historyBetween()
{
    QFETCH(QVector<float>, xs);
    QFETCH(QVector<int>, kept);
    LineHistory history;
    QVector<QPointF> expected;
    for (int index = 0; index < xs.size(); ++index) {
        history.append(xs[index], index);
    }
    for (const int index : kept) {
        expected << history.at(index);
    }
    QCOMPARE(history.between(10, 20), expected);
}

void TestPlotLines::thinningKeepsTheExtremes()
{
    QVector<QPointF> points = {{-0.1, 0}, {0, 5}, {0.1, 9}, {0.2, 5}, {0.3, 1}, {0.4, 5}, {1, 5}};
    const QVector<QPointF> all = points;
    thinColumns(points, 0);
    QCOMPARE(points, all);
    thinColumns(points, 1);
    QCOMPARE(points, QVector<QPointF>({all[0], all[1], all[2], all[4], all[5], all[6]}));
}

// Qt itself, given all points, is the reference.
void TestPlotLines::looksLikeAChartOfAllPoints()
{
    Plot plain(false);
    Plot fast(true);
    QVERIFY(plain.shown && fast.shown);
    int fed = 0;
    const auto feedUpTo = [&](int points) {
        QVector<QVector<QPointF>> all(lineCount);
        for (; fed < points; ++fed) {
            for (int line = 0; line < lineCount; ++line) {
                fast.lines->append(fast.series[line], float(fed) * 0.1F, valueAt(line, fed));
            }
        }
        for (int line = 0; line < lineCount; ++line) {
            for (int index = 0; index < fed; ++index) {
                all[line] << QPointF(double(float(index) * 0.1F), valueAt(line, index));
            }
            plain.series[line]->replace(all[line]);
        }
    };
    const auto compare = [&](int tolerance) {
        const int found = difference(plain.picture(), fast.picture());
        QVERIFY2(found <= tolerance, qPrintable(QStringLiteral("differs by %1").arg(found)));
    };
    const auto onBoth = [&](auto change) {
        change(plain);
        change(fast);
    };
    // Two layers are blended and not one, so that a pixel may be rounded otherwise.
    constexpr int rounding = 12;
    feedUpTo(400);
    compare(0);
    feedUpTo(700);
    compare(rounding);
    feedUpTo(731); // onto a picture that is there
    compare(rounding);
    onBoth([](Plot& plot) { plot.chart->zoomIn(); });
    compare(rounding);
    feedUpTo(12'000);
    compare(rounding);
    onBoth([](Plot& plot) { plot.chart->scroll(2000, 30); });
    compare(rounding);
    onBoth([](Plot& plot) { plot.axisX->setRange(0, 1500); });
    compare(rounding);
    feedUpTo(12'100);
    compare(rounding);
    onBoth([](Plot& plot) { plot.view.resize(517, 333); });
    compare(rounding);
    onBoth([](Plot& plot) { plot.chart->zoomReset(); });
    compare(rounding);
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
    const QVector<QPointF> shown = series->pointsVector();
    for (int index = 287'900; index <= 287'990; ++index) {
        QVERIFY(shown.contains(QPointF(double(float(index) * 0.1F), index % 1000)));
    }
    feed(288'010); // beyond the axis
    QCOMPARE(series->count(), shown.size());
}

void TestPlotLines::lineThatIsAddedLater()
{
    Plot plot(true);
    for (int index = 0; index < 600; ++index) {
        plot.lines->append(plot.series[0], float(index), 100);
    }
    const QImage before = plot.picture();
    auto* late = new QLineSeries;
    plot.chart->addSeries(late);
    late->attachAxis(plot.axisX);
    late->attachAxis(plot.axisY);
    plot.lines->add(late);
    plot.lines->append(late, 0, 500);
    plot.lines->append(late, 200, 900);
    QVERIFY(difference(before, plot.picture()) > 0);
    for (QLineSeries* series : {late, plot.series[0]}) {
        plot.lines->remove(series);
        plot.chart->removeSeries(series);
        delete series;
    }
    plot.lines->append(plot.series[1], 1, 1);
    QCOMPARE(plot.series[1]->count(), 1);
}

QTEST_MAIN(TestPlotLines)
#include "tst_plotlines.moc"
