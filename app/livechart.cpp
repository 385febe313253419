// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/livechart.h"

#include <qcustomplot.h>

LiveChart::LiveChart(QCustomPlot* customPlot)
    : QObject(customPlot)
    , plot(customPlot)
{
    connect(plot, &QCustomPlot::beforeReplot, this, [this] {
        incremental = true;
        painted.clear();
        usedStacks = 0;
    });
    connect(plot, &QCustomPlot::afterReplot, this, [this] {
        incremental = false;
        newInk = false;
    });
}

LiveGraph* LiveChart::addGraph()
{
    auto* graph = new LiveGraph(plot->xAxis, plot->yAxis, plot->graphCount(), this);
    // The plot lays out its legend at each replot, though it is hidden. The texts of 128 entries
    // would take more time than all the rest.
    graph->removeFromLegend();
    return graph;
}

void LiveChart::addPoint(int index, double key, double value)
{
    QCPGraph* graph = index < plot->graphCount() ? plot->graph(index) : nullptr;
    if (auto* live = qobject_cast<LiveGraph*>(graph)) {
        newInk = live->append(key, value) || newInk;
    } else if (graph) {
        graph->addData(key, value);
        newInk = true;
    }
}

bool LiveChart::paint(LiveGraph* graph, QCPPainter* painter)
{
    if (!incremental) {
        return false; // an export, a print, or a device that cannot be copied from
    }
    return painted.contains(graph) || paintStackFrom(graph, painter);
}

// The stack goes up to the next visible thing on the layer that is no plain curve on these axes.
bool LiveChart::paintStackFrom(LiveGraph* lowest, QCPPainter* painter)
{
    if (usedStacks == stacks.size()) {
        stacks.emplace_back();
    }
    CurveStack& stack = stacks[usedStacks];
    stack.clear();
    const QList<QCPLayerable*> onLayer = lowest->layer()->children();
    for (int i = onLayer.indexOf(lowest); i < onLayer.size(); ++i) {
        if (!onLayer.at(i)->realVisibility()) {
            continue;
        }
        auto* graph = qobject_cast<LiveGraph*>(onLayer.at(i));
        if (!graph || graph->paintArea() != lowest->paintArea()) {
            break;
        }
        const auto ink = graph->currentInk();
        if (!ink) {
            break;
        }
        stack.add(graph, *ink);
    }
    if (stack.members().isEmpty()) {
        return false;
    }
    incremental = stack.paint(painter);
    if (!incremental) {
        return false;
    }
    ++usedStacks;
    for (LiveGraph* member : stack.members()) {
        painted.insert(member);
    }
    return true;
}
