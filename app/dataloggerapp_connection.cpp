// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "ui_dataloggerapp.h"

#include <QElapsedTimer>
#include <QStandardPaths>

namespace {

QString portText(const QSerialPortInfo& port)
{
    return comm::isControllerPort(port, {comm::UsbId::bootloader})
               ? port.serialNumber()
               : QStringLiteral("%1 XCU").arg(port.serialNumber());
}

// Anything may stand in a unit's serial number: none leads out of the console's folder.
QString folderName(QString serialNumber)
{
    serialNumber.replace(QLatin1String("/"), QLatin1String("_"));
    serialNumber.replace(QLatin1String(".."), QLatin1String("__"));
    const bool isName = !serialNumber.isEmpty() && serialNumber != QLatin1String(".");
    return isName ? serialNumber : QStringLiteral("no serial number");
}

// Makes the whole path again, of which parts may have gone since the start. A folder that cannot
// be made or entered leaves the directory where it is.
void enterFolder(QDir& directory, const QString& name)
{
    directory.mkpath(name);
    directory.cd(name);
}

} // namespace

void DataLoggerApp::prepareFolders()
{
    baseDir.cd(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    enterFolder(baseDir, QStringLiteral("Corvane Motion Systems"));
    backupDir = baseDir;
    logDir = baseDir;
}

void DataLoggerApp::refreshPorts()
{
    const QList<QSerialPortInfo> attached = comm::controllerPorts(portList.availablePorts());
    if (ports != attached) {
        ports = attached;
        listPorts();
    }
    if (comPort.isOpen() && !ports.contains(comPort.getOpenedPort())) {
        on_pushButton_2_clicked(); // unplugged, which is like the button
    }
}

// The first entry is selected afterwards, whatever was selected before.
void DataLoggerApp::listPorts()
{
    ui->xcuSerialNumber->clear();
    for (int index = 0; index < ports.size(); ++index) {
        ui->xcuSerialNumber->addItem(portText(ports[index]), index);
    }
}

void DataLoggerApp::on_pushButton_2_clicked()
{
    if (comPort.isOpen()) {
        disconnectPort();
    } else {
        connectPort();
    }
}

// Sends nothing and stops no timer: a session that is running polls on, and after the next connect
// it polls the new link.
void DataLoggerApp::disconnectPort()
{
    ui->pushButton_2->setText(QStringLiteral("Connect"));
    emit addLog(QStringLiteral("Disconnected"));
    delete pongClock;
    pongClock = nullptr;
    logFile.close();
    comPort.close();
}

void DataLoggerApp::connectPort()
{
    const int index = ui->xcuSerialNumber->currentData().toInt();
    if (ports.isEmpty() || !comPort.open(ports.value(index))) {
        emit addLog(QStringLiteral("Failed to connect"));
        return;
    }
    ui->pushButton_2->setText(QStringLiteral("Disconnect"));
    emit addLog(QStringLiteral("Connected"));
    pongClock = new QElapsedTimer;
    const QString unitFolder = folderName(QString::fromStdString(comPort.getSerialNumber()));
    backupDir = baseDir;
    enterFolder(backupDir, unitFolder);
    enterFolder(backupDir, QStringLiteral("extLoggerBackup"));
    logDir = baseDir;
    enterFolder(logDir, unitFolder);
    enterFolder(logDir, QStringLiteral("extLoggerLogs"));
    commandsSender.sendConfigReadReq(0);
    commandsSender.sendConfigReadReq(6);
}

void DataLoggerApp::readPort(std::string payload)
{
    responseReceiver.decodeResponse(payload);
}

void DataLoggerApp::on_promptReceived()
{
    emit addLog(QStringLiteral("ReceivedPrompt"));
    commandsSender.sendPing(0xFEDCBA00);
}

void DataLoggerApp::on_pongReceived(unsigned int value)
{
    // Nothing starts the clock, as no ping is ever under way.
    const qint64 elapsed = pongClock && pongClock->isValid() ? pongClock->elapsed() : 0;
    emit addLog(QStringLiteral("ReceivedPong %1 after %2 ms").arg(value).arg(elapsed));
}
