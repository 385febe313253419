// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/comport.h"

#include "comm/frame.h"
#include "comm/hexdump.h"
#include "comm/trace.h"

#include <QMutexLocker>
#include <QScopeGuard>
#include <QThread>
#include <cerrno>
#include <optional>
#include <utility>

using comm::traceLine;
using comm::traceText;

namespace {

constexpr int pollInterval = 1000; // ms

// The device has left and its port is still open. A line that is merely full gives the same code
// with another text.
bool isGone(const QSerialPort& port)
{
    return port.error() == QSerialPort::ResourceError && port.errorString() == qt_error_string(EIO);
}

} // namespace

ComPort::ComPort()
    : serialPort(std::make_unique<QSerialPort>())
{}

ComPort::~ComPort() = default;

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

bool ComPort::isOpen() const
{
    return serialPort && serialPort->isOpen();
}

// Closes the port and destroys it, or puts that off where the port's own readyRead is still on the
// stack. deleteLater alone would not do: an event loop in a handler would carry it out there.
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

void ComPort::releaseRetiredPorts()
{
    for (std::unique_ptr<QSerialPort>& port : retiredPorts) {
        port.release()->deleteLater();
    }
    retiredPorts.clear();
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
        releaseRetiredPorts();
    });
    do {
        std::optional<std::string> payload = comm::takeFrame(*serialPort, readState, frameLength);
        if (!payload) {
            return;
        }
        emit commandRead(std::move(*payload));
        readState = comm::AwaitsHeader; // and serialPort may be another one now, or gone
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
        traceLine("Failed to send data");
        hexdump(data.data(), data.size());
        return;
    }
    const std::string frame = comm::makeFrame(std::move(data));
    {
        const QMutexLocker lock(&writeMutex);
        traceText("<<");
        serialPort->write(frame.data(), static_cast<qint64>(frame.size()));
        traceText("==");
        serialPort->flush();
        if (isGone(*serialPort)) {
            // Or the port would try again at every turn of the event loop, for as long as it is
            // open.
            serialPort->clear(QSerialPort::Output);
        }
        traceText(">>");
    }
    traceLine("X");
}

std::string ComPort::getSerialNumber() const
{
    return serialNumber.toStdString();
}

quint16 ComPort::getVid() const
{
    return openedPort.vendorIdentifier();
}

quint16 ComPort::getPid() const
{
    return openedPort.productIdentifier();
}

std::string ComPort::error() const
{
    return serialPort ? serialPort->errorString().toStdString() : std::string();
}

QSerialPortInfo ComPort::getOpenedPort() const
{
    return openedPort;
}
