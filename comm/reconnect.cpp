// SPDX-License-Identifier: GPL-3.0-or-later

// The part of ComPort that finds a unit again after it has gone away.
#include "comm/comport.h"
#include "comm/portdiscovery.h"

#include <QThread>

namespace UsbId = comm::UsbId;

namespace {

constexpr int reconnectInterval = 100;        // ms
constexpr unsigned long lookupInterval = 200; // ms

template <typename Lookup>
void waitFor(Lookup lookup, QString& serial)
{
    QSerialPortInfo port = lookup(serial);
    while (port.isNull() && !port.isBusy()) {
        QThread::msleep(lookupInterval);
        port = lookup(serial);
    }
}

} // namespace

void ComPort::reconnect()
{
    connect(&reconnectTimer, &QTimer::timeout, this, &ComPort::reconnectBootloderService);
    reconnectTimer.start(reconnectInterval);
    reconnectBootloderService();
}

void ComPort::reconnectDevice()
{
    reconnect(); // either guise will do here too
}

// One attempt. The old port object goes when open replaces it. The signal is emitted while the
// timer still runs, so that a handler that starts a new cycle has it stopped again.
bool ComPort::reopen()
{
    const QSerialPortInfo port = getPortBySerialNumber(serialNumber);
    if (port.isNull() || !open(port)) {
        return false;
    }
    if (port.productIdentifier() == UsbId::bootloader) {
        emit bootloaderReconnected();
    }
    if (port.productIdentifier() == UsbId::device) {
        emit deviceReconnected();
    }
    return true;
}

void ComPort::reconnectBootloderService()
{
    if (reopen()) {
        reconnectTimer.stop();
        disconnect(&reconnectTimer, &QTimer::timeout, this, &ComPort::reconnectBootloderService);
    }
}

void ComPort::reconnectDeviceService()
{
    if (reopen()) {
        reconnectTimer.stop(); // and leaves the connection, unlike the other service
    }
}

void ComPort::waitForPortAvaliable()
{
    waitFor(getBootloaderPortBySerialNumber, serialNumber);
}

void ComPort::waitForDevicePortAvaliable()
{
    waitFor(getDevicePortBySerialNumber, serialNumber);
}
