// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/plotviewer.h"

#include "ui_plotviewer.h"
#include "workbench/channelnames.h"
#include "workbench/chartview.h"
#include "workbench/plotcurve.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QScrollArea>
#include <QScrollBar>

namespace {

// Seconds. A controller without a clock sends a record every 100 ms.
float recordTime(unsigned int sampleNumber, unsigned int timestamp)
{
    return timestamp != 0 ? float(timestamp) / 1000.0F : float(sampleNumber) / 10.0F;
}

} // namespace

PlotViewer::PlotViewer(QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::PlotViewer>())
    , chart(new QChart)
    , axisX(new QValueAxis)
    , axisY(new QValueAxis)
    , panelLayout(new QFormLayout)
    , panel(new QWidget)
    , panelArea(new QScrollArea)
{
    ui->setupUi(this);
    chart->addAxis(axisX, Qt::AlignBottom);
    chart->addAxis(axisY, Qt::AlignLeft);
    axisY->setRange(0, 1024);
    axisX->setRange(0, 200);
    // Curves are not animated: a chart would lay out series without a pen sixty times a second.
    chart->setAnimationDuration(0);
    auto* view = new ChartView(chart);
    view->setRenderHint(QPainter::Antialiasing);
    ui->horizontalLayout->addWidget(view);
    panel->setLayout(panelLayout);
    panelArea->setFrameShape(QFrame::NoFrame);
    panelArea->setWidgetResizable(true);
    panelArea->setWidget(panel);
    showPanel(false);
    ui->horizontalLayout->addWidget(panelArea);
    // These count from 0 and the rows that come with the data from 1, on purpose: "data 4" is
    // followed by "data 6".
    constexpr int firstRows = 5; // there before any data
    for (int row = 0; row < firstRows; ++row) {
        addRow(QStringLiteral("data %1").arg(row));
    }
}

PlotViewer::~PlotViewer() = default;

void PlotViewer::addRow(const QString& name)
{
    auto* label = new QLabel(name);
    auto* check = new QCheckBox;
    check->setCheckState(Qt::Unchecked);
    panelLayout->addRow(label, check);
    channelLabels.push_back(label);
    channelChecks.push_back(check);
}

void PlotViewer::update(unsigned int sampleNumber, unsigned int timestamp, std::vector<int>& values)
{
    const int channels = static_cast<int>(values.size());
    const int rows = static_cast<int>(channelLabels.size());
    for (const QString& name : workbench::channelNames(rows, channels)) {
        addRow(name);
    }
    const float time = recordTime(sampleNumber, timestamp);
    for (auto curve = curves.cbegin(); curve != curves.cend() && curve.key() < channels; ++curve) {
        curve.value()->append(time, values[static_cast<std::size_t>(curve.key())]);
    }
}

void PlotViewer::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::RightButton) {
        return;
    }
    panelOpen = panelOpen == 0 ? 1 : 0;
    showPanel(panelOpen == 1);
    if (panelOpen == 1) {
        return;
    }
    for (int channel = 0; channel < static_cast<int>(channelChecks.size()); ++channel) {
        const bool chosen = channelChecks[channel]->checkState() == Qt::Checked;
        if (chosen && !series.contains(channel)) {
            addCurve(channel);
        } else if (!chosen && series.contains(channel)) {
            removeCurve(channel);
        }
    }
}

void PlotViewer::showPanel(bool shown)
{
    const int width = panel->sizeHint().width();
    panelArea->setFixedWidth(width + panelArea->verticalScrollBar()->sizeHint().width());
    panel->setVisible(shown);
    panelArea->setVisible(shown);
}

void PlotViewer::addCurve(int channel)
{
    auto* added = new QLineSeries;
    added->setName(QStringLiteral("data %1").arg(channel)); // whatever its row is called
    chart->addSeries(added);
    series[channel] = added;
    added->attachAxis(axisX);
    added->attachAxis(axisY);
    curves[channel] = new workbench::PlotCurve(*added, *axisX, *axisY);
}

void PlotViewer::removeCurve(int channel)
{
    delete curves.take(channel);
    QLineSeries* removed = series.take(channel);
    chart->removeSeries(removed);
    delete removed;
}
