// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <qcustomplot.h>

// The logo in the top right corner of a chart's axis rectangle, a tenth of its width and height at
// the most. The pixmap item that it builds on keeps a scaled picture at the left edge of its box;
// this one is centred.
class ChartLogo : public QCPItemPixmap
{
    Q_OBJECT

public:
    explicit ChartLogo(QCustomPlot* plot);

    double selectTest(
        const QPointF& pos, bool onlySelectable, QVariant* details = nullptr) const override;

protected:
    void draw(QCPPainter* painter) override;

private:
    QPoint shift() const; // from the edge to the middle of its box
};
