// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "chart/chartlogo.h"
#include "chart/livechart.h"
#include "ui_dataloggerapp.h"

#include <QScrollBar>
#include <qcustomplot.h>

namespace {

QString selectedKey(int channel)
{
    return QStringLiteral("ui/channels/%1/selected").arg(channel);
}

// Tells which curve belongs to a box of the strip: a square in the curve's colour, and a tool tip
// with the number of the channel, as in the log and in commands.
void showChannel(QCheckBox* box, int channel)
{
    constexpr int size = 10; // pixels, less than a text: the rows stay as high as without it
    QPixmap square(size, size);
    square.fill(formats::channelColour(channel));
    box->setIcon(square);
    box->setIconSize(square.size());
    box->setToolTip(
        QStringLiteral(
            "Shows or hides the curve of channel %1, which has the colour of the square.")
            .arg(channel));
}

} // namespace

void DataLoggerApp::createChart()
{
    liveChart = new chart::LiveChart;
    plot = liveChart;
    plot->setInteractions(
        QCP::iRangeDrag | QCP::iRangeZoom | QCP::iSelectPlottables | QCP::iSelectAxes |
        QCP::iSelectLegend);
    ui->chartLayout->addWidget(plot, 0, 0);
    windowLength = 1000;
    createChannels();
    new ChartLogo(plot); // belongs to the plot
    // The view belongs to the operator: nothing ever moves or rescales it.
    plot->xAxis->setRange(0, 60);
    plot->yAxis->setRange(0, 1024);
    requestReplot();
}

// One curve and one box in the strip for each channel. A box is connected after its state is set,
// so that the start writes no settings.
void DataLoggerApp::createChannels()
{
    constexpr int stripRows = 32;
    for (int channel = 0; channel < formats::ChannelTotal; ++channel) {
        const QString fallback = QStringLiteral("data %1").arg(channel + 1);
        const QString labelKey = QStringLiteral("ui/channels/%1/label").arg(channel);
        const QString label = settings.value(labelKey, fallback).toString();
        QCPGraph* graph = liveChart->addChannel();
        graph->setName(label);
        graph->setPen(QPen(formats::channelColour(channel)));

        auto* box = new QCheckBox(label);
        const bool selected = settings.value(selectedKey(channel), true).toBool();
        box->setCheckState(selected ? Qt::Checked : Qt::Unchecked);
        graph->setVisible(selected);
        ui->dataSeriesLayout->addWidget(box, channel % stripRows, channel / stripRows);
        connect(box, SIGNAL(stateChanged(int)), this, SLOT(seriesVisible_stateChanged(int)));
        showChannel(box, channel);
        seriesCheckBoxes[channel] = box;
    }
    // Three rows in the smallest window. A fourth would not fit on a screen of 768 lines. As wide
    // as the panel above it, also when a start finds the other panels hidden.
    const QScrollArea* strip = ui->dataSeriesWidget;
    ui->dataSeriesWidget->setMinimumSize(
        ui->CanbusWidget->sizeHint().width(),
        3 * seriesCheckBoxes[0]->sizeHint().height() + 2 * strip->frameWidth() +
            strip->horizontalScrollBar()->sizeHint().height());
}

// For a change of anything but points. While a file is read, the chart waits for its end.
void DataLoggerApp::requestReplot()
{
    if (!importing) {
        liveChart->requestReplot();
    }
}

void DataLoggerApp::seriesVisible_stateChanged(int /*arg1*/)
{
    if (holdStrip) {
        return;
    }
    for (int channel = 0; channel < formats::ChannelTotal; ++channel) {
        const bool selected = seriesCheckBoxes[channel]->checkState() == Qt::Checked;
        plot->graph(channel)->setVisible(selected);
        settings.setValue(selectedKey(channel), selected);
    }
    requestReplot();
}

// "Deselect All". Each box that it clears would run the whole strip, which would end in the very
// same state after 128 times the work.
void DataLoggerApp::on_mapTuner_clicked()
{
    holdStrip = true;
    for (QCheckBox* box : seriesCheckBoxes) {
        box->setCheckState(Qt::Unchecked);
    }
    holdStrip = false;
    seriesVisible_stateChanged(Qt::Unchecked);
}

void DataLoggerApp::on_splitter_splitterMoved(int /*pos*/, int /*index*/)
{
    settings.setValue(QStringLiteral("ui/channelLayout"), ui->splitter->saveState());
}

void DataLoggerApp::on_splitter_2_splitterMoved(int /*pos*/, int /*index*/)
{
    settings.setValue(QStringLiteral("ui/canLayout"), ui->splitter_2->saveState());
}

// No widget reaches the two slots below.

void DataLoggerApp::on_widget_2_customContextMenuRequested(const QPoint& /*pos*/) {}

void DataLoggerApp::on_PValue_valueChanged(double /*arg1*/) {}
