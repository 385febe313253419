// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "comm/trace.h"
#include "formats/arrivalorder.h"
#include "formats/blackboxreader.h"
#include "formats/filestamp.h"
#include "formats/logreader.h"
#include "formats/traceformat.h"
#include "ui_dataloggerapp.h"

#include <QDateTime>
#include <QFileDialog>
#include <QSet>
#include <qcustomplot.h>

// Opens a log, a black-box record or a CAN trace, told apart by the end of the name. Nothing is
// cleared first: curves, tags, frames and identifiers add up.
void DataLoggerApp::on_actionOpen_with_Timestamp_triggered(bool)
{
    const QString name = QFileDialog::getOpenFileName(
        this, tr("Open log file"), QString(), tr("Log Files (*.log);; Any File (*.*)"));
    if (name.isEmpty()) {
        return;
    }
    bool isComplete = true;
    if (const formats::TraceFormat* format = formats::traceFormat(name)) {
        importTrace(*format, name);
    } else if (name.endsWith(QLatin1String(".rbx"))) {
        isComplete = importBlackbox(name);
    } else {
        importLog(name);
    }
    if (isComplete) {
        listIdentifiers();
    }
}

// Sorted by character and not by value: "0x18daf110" stands before "0x7ff".
void DataLoggerApp::listIdentifiers()
{
    QSet<QString> shown;
    for (int row = 0; row < ui->canFrameIds->count(); ++row) {
        shown.insert(ui->canFrameIds->item(row)->text());
    }
    frameIndex.extend(canTraceFrameList);
    for (const QString& identifier : frameIndex.identifierTexts()) {
        if (!shown.contains(identifier)) {
            ui->canFrameIds->addItem(identifier);
        }
    }
    ui->canFrameIds->sortItems();
}

void DataLoggerApp::importTrace(const formats::TraceFormat& format, const QString& name)
{
    formats::TraceImport import = {canTraceFrameList, &comm::traceLine<std::string_view>};
    if (format.convertedName) {
        openConversion(QLatin1String(format.convertedName));
        import.candumpFile = &candumpFile;
    }
    const QString status = formats::readTraceFile(format, name, import);
    if (format.convertedName) {
        candumpFile.flush();
    }
    emit addLog(status);
}

// False for a record without log lines: the identifiers of its frames wait for the next import.
bool DataLoggerApp::importBlackbox(const QString& name)
{
    openConversion(QLatin1String("canbb-%1.candump"));
    formats::TraceImport import = {
        canTraceFrameList, &comm::traceLine<std::string_view>, &candumpFile};
    const formats::BlackboxContent content = formats::readBlackboxFile(name, import);
    candumpFile.flush();
    firstTimestamp = content.firstTimestamp; // for sessions: the times of the record stay absolute
    emit addLog(content.statusText);
    if (content.hasLog) {
        for (int channel = 0; channel < content.channelTexts.size(); ++channel) {
            seriesCheckBoxes[channel]->setText(content.channelTexts[channel]);
        }
        plotImport(content.points);
    }
    return content.hasLog;
}

void DataLoggerApp::importLog(const QString& name)
{
    comm::traceLine("catchall");
    QFile file(name);
    file.open(QIODevice::ReadOnly);
    const formats::LogContent content =
        formats::readLog(file, plot->graphCount(), firstTimestamp, lastTimestamp);
    holdReplot = true; // until the points are there
    labelStrip(content);
    for (const formats::LogContent::Tag& tag : content.tags) {
        firstTimestamp = tag.firstTimestamp;
        lastTimestamp = tag.lastTimestamp;
        addTag(tag.text); // reaches the log of a session, too, if one is open
    }
    firstTimestamp = content.firstTimestamp;
    lastTimestamp = content.lastTimestamp;
    holdReplot = false;
    plotImport(content.points);
}

// Channels that the log does not name lose their box for good.
void DataLoggerApp::labelStrip(const formats::LogContent& content)
{
    holdStrip = true;
    bool changed = false;
    for (const formats::LogContent::Label& label : content.labels) {
        QCheckBox* box = seriesCheckBoxes[label.channel];
        channelLabels[label.channel] = label.text;
        box->setText(label.text);
        if (label.hides) {
            changed = changed || box->isChecked();
            box->setCheckState(Qt::Unchecked);
            box->hide();
        }
    }
    holdStrip = false;
    if (changed) {
        seriesVisible_stateChanged(Qt::Unchecked);
    }
}

// In the working directory, and left open: frames of a capture that runs go there from now on.
void DataLoggerApp::openConversion(const QString& pattern)
{
    openCandumpFile(pattern.arg(formats::fileStamp(QDateTime::currentDateTime())));
}

void DataLoggerApp::plotImport(const formats::RecordPoints& points)
{
    for (int channel = 0; channel < points.channelCount(); ++channel) {
        formats::addInArrivalOrder(*plot->graph(channel)->data(), points.points(channel));
    }
    requestReplot();
}
