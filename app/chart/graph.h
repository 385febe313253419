// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/history.h"

#include <QPen>
#include <qcustomplot.h>

namespace chart {

class LiveChart;

// A curve of the live chart: a QCPGraph, but that data() holds no points. They are in the records
// of the chart or, from the first one on that did not come with a record, in the graph's own
// history.
class Graph : public QCPGraph
{
    Q_OBJECT

public:
    // Of the records' channel, or -1. On the plot's default axes; made by LiveChart.
    Graph(LiveChart* chart, int channel);

    void addPoint(double key, double value);
    void clearPoints();

    bool hasOwnPoints() const { return own != nullptr; }
    // For use until the next change, or a snapshot for good, that of the records if need be.
    Series series() const;
    Series snapshot(const Series& ofRecords) const;

    // Takes over what addData() and setData() have put into the library's container.
    void absorb() const;

    // A solid antialiased line on the default axes, which the chart paints. What is anything else
    // is left to the library.
    bool isPlainLine() const;
    QPen linePen() const;

    int dataCount() const override;
    double dataMainKey(int index) const override;
    double dataSortKey(int index) const override { return dataMainKey(index); }
    double dataMainValue(int index) const override;
    int findBegin(double sortKey, bool expandedRange = true) const override;
    int findEnd(double sortKey, bool expandedRange = true) const override;
    double selectTest(
        const QPointF& pos, bool onlySelectable, QVariant* details = nullptr) const override;
    QCPRange getKeyRange(bool& found, QCP::SignDomain domain = QCP::sdBoth) const override;
    QCPRange getValueRange(
        bool& found, QCP::SignDomain domain = QCP::sdBoth,
        const QCPRange& keyRange = QCPRange()) const override;

protected:
    void draw(QCPPainter* painter) override;

private:
    const History& history() const;
    int historyChannel() const { return own ? 0 : channel; }
    History& makeOwn() const;
    QVector<QCPGraphData> allPoints() const;
    template <typename Work>
    auto withLibrary(Work work) const;

    LiveChart* chart;
    int channel;
    mutable std::unique_ptr<History> own; // what answers a question may have to absorb first
    mutable bool isLent = false;          // the library's container holds all points for a moment
};

} // namespace chart
