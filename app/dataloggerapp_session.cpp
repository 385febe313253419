// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "chart/livechart.h"
#include "formats/filestamp.h"
#include "formats/logfile.h"
#include "ui_dataloggerapp.h"

#include <QTimer>

void DataLoggerApp::on_startLogging_clicked()
{
    // The strip only hides curves: the controller always logs the first channels.
    auto channels =
        comm::firstChannels(formats::channelCountOfChoice(ui->channelCount->currentIndex()));
    const bool passive = ui->passiveDatalogger->checkState() == Qt::Checked;
    commandsSender.sendLoggerStart(channels, passive);
    emit addLog(QStringLiteral("Sent start request"));
}

void DataLoggerApp::loggerStarted()
{
    emit addLog(QStringLiteral("Received logger started"));
    // Closes the file of the session before, which Stop leaves open for late records.
    logFile.setFileName(logDir.filePath(formats::stampedName("%1.log")));
    logFile.open(QIODevice::WriteOnly);
    logFile.write(formats::logHeaderLine(channelLabels));
    logFile.flush();
    tagsToLog = !importing; // an import that has begun earlier is not of this session
    // Timers of earlier sessions tick on: each confirmed start adds to the pace.
    constexpr int faultPollMs = 200;
    if (ui->passiveDatalogger->checkState() != Qt::Checked) {
        pingTimer = startSessionTimer(ui->refreshRate->value(), &DataLoggerApp::on_ping_timer);
    }
    faultTimer = startSessionTimer(faultPollMs, &DataLoggerApp::on_faultTimer_tieout);
}

QTimer* DataLoggerApp::startSessionTimer(int intervalMs, void (DataLoggerApp::*tick)())
{
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, tick);
    timer->start(intervalMs);
    return timer;
}

void DataLoggerApp::on_ping_timer()
{
    commandsSender.sendLoggerDataRequest();
}

void DataLoggerApp::takeTimestamp(int timestamp)
{
    lastTimestamp = timestamp;
    if (firstTimestamp == -1) {
        firstTimestamp = timestamp;
    }
}

// From the first record of the program's run to the latest, in ms. The controller's clock wraps
// round, and the difference with it.
unsigned DataLoggerApp::elapsed() const
{
    return static_cast<unsigned>(lastTimestamp) - static_cast<unsigned>(firstTimestamp);
}

void DataLoggerApp::loggerDataReceived(
    unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values)
{
    emit addLog(QStringLiteral("Received logger data %1").arg(timestamp));
    takeTimestamp(static_cast<int>(timestamp));
    // The file first, the picture second. A closed file loses the line, and Qt says so.
    formats::composeLogLine(logLine, sampleNumber, timestamp, values);
    logFile.write(logLine.data(), static_cast<qint64>(logLine.size()));
    logFile.flush();
    // Values beyond the channels land on the curves of CAN signals, if there are any.
    liveChart->addRecord(formats::chartSeconds(elapsed()), values);
    if (!importing) {
        liveChart->requestNews();
    }
}

void DataLoggerApp::on_stopLogging_clicked()
{
    if (pingTimer) {
        disconnect(pingTimer, &QTimer::timeout, this, &DataLoggerApp::on_ping_timer);
        delete pingTimer;
        pingTimer = nullptr;
    }
    commandsSender.sendLoggerStop();
}

void DataLoggerApp::on_channelCount_currentIndexChanged(int index)
{
    settings.setValue(QStringLiteral("ui/channelsCount"), index);
}

void DataLoggerApp::on_autostart_stateChanged(int arg1)
{
    settings.setValue(QStringLiteral("ui/autostart"), arg1);
}

// A new pace takes effect at the start of the next session.
void DataLoggerApp::on_refreshRate_valueChanged(int /*arg1*/) {}
