// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "workbench/charts.h"
#include "workbench/idatapresenter.h"

#include <QMap>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

class QCheckBox;
class QFormLayout;
class QLabel;
class QScrollArea;

namespace workbench {
class PlotCurve;
}

namespace Ui {
class PlotViewer;
}

// Draws chosen channels as curves over the time in seconds. The axes do not follow the data. A
// right click opens the panel in which channels are chosen, the next one closes it and applies the
// choice; a curve that is chosen again begins anew.
class PlotViewer : public QWidget, public IDataPresenter
{
    Q_OBJECT

public:
    explicit PlotViewer(QWidget* parent = nullptr);
    ~PlotViewer() override;

    using QWidget::update;
    void update(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>& values) override;
    void updateLabels(std::vector<std::string>& /*labels*/) override {}
    void showData(std::vector<bool>& /*shown*/) override {}
    QSize sizeHint() const override { return {400, 300}; } // which a sub-window opens with

protected:
    void mousePressEvent(QMouseEvent* event) override;

private:
    void addRow(const QString& name);
    void showPanel(bool shown);
    void addCurve(int channel);
    void removeCurve(int channel);

    std::unique_ptr<Ui::PlotViewer> ui;
    QMap<int, QLineSeries*> series; // by channel; in the chart, which owns them
    QChart* chart;
    QValueAxis* axisX; // s
    QValueAxis* axisY; // raw value
    std::vector<QLabel*> channelLabels;
    std::vector<QCheckBox*> channelChecks;
    QFormLayout* panelLayout;
    QWidget* panel;
    QScrollArea* panelArea;                  // around it
    int panelOpen = 0;                       // 1 while the panel is shown
    QMap<int, workbench::PlotCurve*> curves; // of series; in the chart, which owns them
};
