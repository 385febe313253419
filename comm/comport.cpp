// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"

#include "comm/frame.h"
#include "comm/hexdump.h"
#include "comm/portdiscovery.h"
#include "platform/diagnostics.h"

#include <QMutexLocker>
#include <QScopeGuard>
#include <QThread>
#include <cerrno>
#include <optional>
#include <utility>

using platform::printLine;
using platform::printText;

namespace {

constexpr int pollInterval = 1000;            // ms
constexpr int reconnectInterval = 100;        // ms
constexpr unsigned long lookupInterval = 200; // ms

constexpr quint32 awaitsHeader = 0;
constexpr quint32 awaitsPayload = 1;

// The device has left and its port is still open. A line that is merely full gives the same code
// with another text.
bool isGone(const QSerialPort& port)
{
    return port.error() == QSerialPort::ResourceError && port.errorString() == qt_error_string(EIO);
}

bool isBusy([[maybe_unused]] const QSerialPortInfo& port)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return port.isBusy();
#else
    return false; // Qt 6 does not tell
#endif
}

template <typename Lookup>
void waitFor(Lookup lookup, QString& serial)
{
    QSerialPortInfo port = lookup(serial);
    while (port.isNull() && !isBusy(port)) {
        QThread::msleep(lookupInterval);
        port = lookup(serial);
    }
}

} // namespace

bool ComPort::open(QSerialPortInfo port)
{
    retire(std::exchange(serialPort, std::make_unique<QSerialPort>()));
    serialNumber = port.serialNumber();
    serialPort->setPort(port);
    connect(serialPort.get(), &QSerialPort::readyRead, this, &ComPort::dataAvaliable);
    // One more connection for each open, a failed one too, until close takes them all.
    connect(&pollTimer, &QTimer::timeout, this, &ComPort::dataAvaliable);
    openedPort = port;
    if (!serialPort->open(QIODevice::ReadWrite)) {
        return false; // a poll timer of the port before runs on
    }
    pollTimer.start(pollInterval);
    return true;
}

void ComPort::close()
{
    if (!isOpen()) {
        return;
    }
    pollTimer.stop();
    disconnect(&pollTimer, &QTimer::timeout, this, &ComPort::dataAvaliable);
    retire(std::move(serialPort));
}

// Closes the port and destroys it, unless its readyRead is on the stack: then it has to live until
// that returns. deleteLater alone would not do, as a handler may run an event loop.
void ComPort::retire(std::unique_ptr<QSerialPort> port)
{
    if (!port) {
        return;
    }
    port->close();
    disconnect(port.get(), &QSerialPort::readyRead, this, &ComPort::dataAvaliable);
    if (receiving) {
        retiredPorts.push_back(std::move(port));
    }
}

void ComPort::dataAvaliable()
{
    // An event loop in a handler lets the timer in again; the loop below finds the bytes it is
    // called for, and entering would lose the place in the stream.
    if (receiving || !serialPort) {
        return;
    }
    receiving = true;
    const auto leave = qScopeGuard([this] {
        receiving = false;
        for (std::unique_ptr<QSerialPort>& port : std::exchange(retiredPorts, {})) {
            port.release()->deleteLater(); // its readyRead may have called
        }
    });
    do {
        printLine("dataAvaliable ", serialPort->bytesAvailable());
        if (readState == awaitsHeader) {
            const std::optional<quint32> length = comm::takeLength(*serialPort);
            if (!length) {
                return;
            }
            frameLength = *length;
            readState = awaitsPayload;
            printLine("Header:  ", frameLength);
        }
        printLine("Wait for data:  ", frameLength, "/", serialPort->bytesAvailable());
        std::optional<std::string> payload = comm::takePayload(*serialPort, frameLength);
        if (!payload) {
            return;
        }
        printLine("Red:  ", payload->size());
        emit commandRead(std::move(*payload));
        readState = awaitsHeader; // and serialPort may be another one now, or gone
    } while (serialPort && serialPort->bytesAvailable() > 0);
}

void ComPort::commandSend(std::string data)
{
    if (QThread::currentThread() != thread()) {
        // A QSerialPort works on one thread only.
        QMetaObject::invokeMethod(
            this, [this, payload = std::move(data)]() mutable { commandSend(std::move(payload)); },
            Qt::QueuedConnection);
        return;
    }
    if (!isOpen()) {
        printLine("Failed to send data");
        hexdump(data.data(), data.size());
        return;
    }
    const std::string frame = comm::makeFrame(data);
    {
        const QMutexLocker lock(&writeMutex);
        printText("<<");
        serialPort->write(frame.data(), static_cast<qint64>(frame.size()));
        printText("==");
        serialPort->flush();
        if (isGone(*serialPort)) {
            // A port that keeps what it cannot write tries again at every turn of the event loop.
            serialPort->clear(QSerialPort::Output);
        }
        printText(">>");
    }
    printLine("X");
}

void ComPort::reconnect()
{
    connect(&reconnectTimer, &QTimer::timeout, this, &ComPort::reconnectBootloderService);
    reconnectTimer.start(reconnectInterval);
    reconnectBootloderService();
}

void ComPort::reconnectDevice()
{
    reconnect(); // a bootloader will do here too
}

// One attempt. The old port object goes when open replaces it. The signal is emitted while the
// timer still runs, so that a handler that starts a new cycle has it stopped again.
bool ComPort::reopen()
{
    const QSerialPortInfo port = getPortBySerialNumber(serialNumber);
    if (port.isNull() || !open(port)) {
        return false;
    }
    if (port.productIdentifier() == comm::UsbId::bootloader) {
        emit bootloaderReconnected();
    }
    if (port.productIdentifier() == comm::UsbId::device) {
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
