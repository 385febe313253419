// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <qcustomplot.h>

namespace chart {

class CurvePicture;

// A curve of the live chart: a graph of the plot by name, pen, visibility and selection. Its points
// are in a history, data() holds none, and a picture paints them. Always a solid line on linear
// axes, whatever else a QCPGraph can be told.
class Graph : public QCPGraph
{
    Q_OBJECT

public:
    // On the default axes of the plot; made by LiveChart.
    Graph(
        QCustomPlot* plot, const QString& layer, CurvePicture* picture,
        std::shared_ptr<History> history, int channel);

    void addPoint(double key, double value);
    void clearPoints(); // of a graph that does not share its history; replot afterwards

    int dataCount() const override { return history->count(channel); }
    double dataMainKey(int index) const override { return history->point(channel, index).key; }
    double dataMainValue(int index) const override { return history->point(channel, index).value; }
    QCPRange getKeyRange(bool& found, QCP::SignDomain domain = QCP::sdBoth) const override;
    QCPRange getValueRange(
        bool& found, QCP::SignDomain domain = QCP::sdBoth,
        const QCPRange& keyRange = QCPRange()) const override;
    double selectTest(
        const QPointF& pos, bool onlySelectable, QVariant* details = nullptr) const override;

protected:
    void draw(QCPPainter* painter) override;

private:
    CurvePicture* picture;
    std::shared_ptr<History> history;
    int channel;
};

} // namespace chart
