// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "formats/candumpline.h"
#include "formats/filestamp.h"
#include "ui_dataloggerapp.h"

// Every click of the button asks anew, whether it checks or unchecks it: a capture is never stopped
// from here.
void DataLoggerApp::on_candump_clicked()
{
    candumpWindow.show();
    commandsSender.sendCandumpStart();
}

// A click runs both slots of this name; this one does nothing.
void DataLoggerApp::on_candump_clicked(bool /*checked*/) {}

void DataLoggerApp::candumpStart()
{
    openCandumpFile(logDir.filePath(formats::stampedName("can-%1.candump")), QIODevice::WriteOnly);
    captureBegan = true;
    emit addLog(QStringLiteral("Candump started"));
}

// In place of the file that is open, if one is: setFileName closes that, with a warning of Qt's.
void DataLoggerApp::openCandumpFile(const QString& path, QIODevice::OpenMode mode)
{
    candumpFile.setFileName(path);
    candumpFile.open(mode);
}

// Whether a frame is written depends on the file alone: the table shows frames that come before the
// capture is confirmed, too.
void DataLoggerApp::candump(
    int busNumber, int timestampMs, int canId, bool isExtended, bool isFd, bool isBitrateSwitch,
    const std::string& frameData)
{
    candumpModel.updateFrame(
        busNumber, timestampMs, canId, isExtended, isFd, isBitrateSwitch, frameData);
    formats::composeCandumpLine(
        candumpLine, busNumber, timestampMs, canId, isExtended, isFd, isBitrateSwitch, frameData);
    candumpFile.write(candumpLine.data(), static_cast<qint64>(candumpLine.size()));
    candumpFile.flush();
    emit addLog(formats::candumpStatusText(canId, busNumber));
}

void DataLoggerApp::on_canMsgSend_clicked()
{
    // fromHex() skips what is no hexadecimal digit and pairs digits from the end: "123" is 01 23.
    const QByteArray payload = QByteArray::fromHex(ui->canMsgData->text().toUtf8());
    const bool extended = ui->canMsgType->currentIndex() == 1;
    const bool fd = ui->canMsgMode->currentIndex() == 1;
    commandsSender.sendCanSendMessage(
        ui->canNetId->value(), static_cast<unsigned int>(ui->canMsgId->value()),
        payload.toStdString(), extended, fd);
}
