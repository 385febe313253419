// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "chart/renderer.h"

#include <qcustomplot.h>

namespace chart {

class CurvePicture;

// A curve of the live chart: a QCPGraph, but that its points are in a history, and data() holds
// none.
class Graph : public QCPGraph
{
    Q_OBJECT

public:
    // On the default axes of the picture's plot; made by LiveChart.
    Graph(CurvePicture* picture, std::shared_ptr<History> history, int channel);

    void addPoint(double key, double value);
    void clearPoints(); // of a graph that does not share its history

    // What the picture is to paint of it. Not for a graph that is anything else than a solid line:
    // such a one is left to the library.
    bool isPlainLine() const;
    Curve curve() const;
    bool isPartOf(const CurvePicture* of) const { return picture == of; }

    int dataCount() const override;
    double dataMainKey(int index) const override { return pointAt(index).key; }
    double dataSortKey(int index) const override { return dataMainKey(index); }
    double dataMainValue(int index) const override { return pointAt(index).value; }
    QCPRange dataValueRange(int index) const override
    {
        return {dataMainValue(index), dataMainValue(index)};
    }
    QPointF dataPixelPosition(int index) const override
    {
        return coordsToPixels(dataMainKey(index), dataMainValue(index));
    }
    int findBegin(double sortKey, bool expandedRange = true) const override;
    int findEnd(double sortKey, bool expandedRange = true) const override;
    double selectTest(
        const QPointF& pos, bool onlySelectable, QVariant* details = nullptr) const override;
    QCPDataSelection selectTestRect(const QRectF& rect, bool onlySelectable) const override;
    QCPRange getKeyRange(bool& found, QCP::SignDomain domain = QCP::sdBoth) const override;
    QCPRange getValueRange(
        bool& found, QCP::SignDomain domain = QCP::sdBoth,
        const QCPRange& keyRange = QCPRange()) const override;

protected:
    void draw(QCPPainter* painter) override;

private:
    void absorb() const;
    Point pointAt(int index) const;
    bool isThinned() const;
    QVector<QCPGraphData> pointsBetween(const Span& keys = {-Infinite, Infinite}) const;
    template <typename Work>
    auto withLibrary(const QVector<QCPGraphData>& points, Work work) const;

    CurvePicture* picture;
    std::shared_ptr<History> history;
    int channel;
    mutable bool isLent = false; // the library's container holds points for a moment
};

} // namespace chart
