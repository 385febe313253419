// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "formats/configurationblock.h"
#include "formats/filestamp.h"
#include "ui_dataloggerapp.h"

void DataLoggerApp::readConfiguration(
    unsigned int /*result*/, unsigned int configId, const std::string& block)
{
    if (!formats::isEmptyConfigurationBlock(block)) {
        if (configId == 0) {
            platform::DurableFile backup(backupDir.filePath(formats::stampedName("%1.xcu")));
            backup.open(QIODevice::WriteOnly);
            backup.write(block.data(), static_cast<qint64>(block.size()));
        }
        for (const formats::ChannelLabel& label : formats::readChannelLabels(block)) {
            channelLabels[label.channel] = label.text;
            seriesCheckBoxes[label.channel]->setText(label.text);
        }
    }
    configRead0 = configRead0 || configId == 0;
    configRead6 = configRead6 || configId == 6;
    // The flags outlive a disconnect: after a reconnect each of the two blocks starts a session.
    if (configRead0 && configRead6 && ui->autostart->checkState() == Qt::Checked) {
        on_startLogging_clicked();
    }
}

void DataLoggerApp::on_calibrationStart_clicked()
{
    commandsSender.sendAdaptationStart();
}

void DataLoggerApp::adaptationStart()
{
    emit addLog(QStringLiteral("Adptation start response"));
}

void DataLoggerApp::adaptationStatus(IControlerAdaptationResponse::AdaptationStatus status)
{
    switch (status) {
    case AdaptationStatus::Idle:
        emit addLog(QStringLiteral("Adptation Idle"));
        break;
    case AdaptationStatus::Busy:
        emit addLog(QStringLiteral("Adptation Busy"));
        break;
    }
}
