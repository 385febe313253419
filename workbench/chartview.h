// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "workbench/charts.h"

// A chart that zooms by rubber band and keys and scrolls by the arrow keys.
class ChartView : public QChartView
{
    Q_OBJECT

public:
    explicit ChartView(QChart* chart, QWidget* parent = nullptr);

protected:
    bool viewportEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool touching = false; // a touch goes on; the mouse events made from it are swallowed
};
