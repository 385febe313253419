// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/plotline.h"

#include <QTimer>
#include <algorithm>
#include <cmath>
#include <limits>

using workbench::PlotLine;

namespace {

constexpr std::size_t mostWhole = 2000; // points up to which a series holds the whole line
constexpr double beyond = std::numeric_limits<double>::infinity();

} // namespace

PlotLine::PlotLine(QLineSeries& lineSeries, QValueAxis& horizontalAxis)
    : series(lineSeries)
    , axisX(horizontalAxis)
{}

void PlotLine::append(float x, int y)
{
    history.push_back({x, y});
    if (isWhole()) {
        series.append(qreal(x), qreal(y));
    } else if (history.size() == mostWhole + 1) {
        changeView();
    } else if (show(static_cast<int>(history.size()) - 1)) {
        fillSeries();
    }
}

bool PlotLine::isWhole() const
{
    return history.size() <= mostWhole;
}

void PlotLine::changeView()
{
    if (isWhole()) {
        return;
    }
    left = axisX.min();
    right = axisX.max();
    width = (right - left) / series.chart()->plotArea().width();
    shown.clear();
    for (int index = 0; index < static_cast<int>(history.size()); ++index) {
        show(index);
    }
    fillSeries();
}

// All that lies on one side of the view is one column.
double PlotLine::columnOf(float x) const
{
    if (x < left) {
        return -beyond;
    }
    return x > right ? beyond : std::floor(x / width);
}

// Takes the next point into what is shown; false if it makes no difference.
bool PlotLine::show(int index)
{
    const double next = columnOf(history[index].x);
    if (shown.isEmpty() || next != column) {
        if (!shown.isEmpty() && std::isinf(column)) {
            shown << at(index - 1); // where the line comes back from
        }
        column = next;
        start = shown.size();
        low = high = index;
        shown << at(index);
        return true;
    }
    if (std::isinf(column)) {
        return false;
    }
    const int y = history[index].y;
    if (y >= history[low].y && y <= history[high].y) {
        return false;
    }
    (y < history[low].y ? low : high) = index;
    shown.resize(start);
    shown << at(std::min(low, high)) << at(std::max(low, high));
    return true;
}

// Without the animation that any click switches on: the points before and after are not the same,
// and the chart would draw the line in from the left.
void PlotLine::fillSeries()
{
    QChart* chart = series.chart();
    const QChart::AnimationOptions options = chart->animationOptions();
    if (options != QChart::NoAnimation) {
        chart->setAnimationOptions(QChart::NoAnimation);
        QTimer::singleShot(0, chart, [chart, options] { chart->setAnimationOptions(options); });
    }
    series.replace(shown);
}
