// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portdiscovery.h"

#include <QDateTime>
#include <QDir>
#include <QRegularExpression>
#include <algorithm>
#include <utility>

namespace UsbId = comm::UsbId;

namespace {

QSerialPortInfo findController(const QString& serial, std::initializer_list<quint16> products)
{
    for (const QSerialPortInfo& port : QSerialPortInfo::availablePorts()) {
        if (comm::isControllerPort(port, products) && port.serialNumber() == serial) {
            return port;
        }
    }
    return QSerialPortInfo();
}

// Of all ttys of the system, name and time of making, in any stable order; empty: unknown.
QStringList ttyEntries()
{
    // These are most of the entries, and there for good.
    static const QRegularExpression console(QStringLiteral("^tty[0-9]"));
    const QDir folder(QStringLiteral("/sys/class/tty"));
    QStringList entries =
        folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (QString& entry : entries) {
        if (!entry.contains(console)) {
            const QFileInfo info(folder, entry);
            const QDateTime made = info.fileTime(QFile::FileMetadataChangeTime);
            entry += ' ' + QString::number(made.toMSecsSinceEpoch());
        }
    }
    return entries;
}

} // namespace

bool comm::isControllerPort(const QSerialPortInfo& port, std::initializer_list<quint16> products)
{
    return port.hasProductIdentifier() && port.hasVendorIdentifier() &&
           port.vendorIdentifier() == UsbId::vendor &&
           std::find(products.begin(), products.end(), port.productIdentifier()) != products.end();
}

QList<QSerialPortInfo> comm::controllerPorts(QList<QSerialPortInfo> ports)
{
    const auto isOther = [](const QSerialPortInfo& port) { return !isControllerPort(port); };
    ports.erase(std::remove_if(ports.begin(), ports.end(), isOther), ports.end());
    return ports;
}

QList<QSerialPortInfo> comm::PortList::availablePorts()
{
    constexpr qint64 settlingTime = 2000; // ms
    constexpr qint64 longestTrust = 1000; // ms
    // Ahead of the ports: what changes in between differs at the next call.
    QStringList current = ttyEntries();
    if (current != entries) {
        entries = std::move(current);
        settled.setRemainingTime(settlingTime);
    }
    if (entries.isEmpty() || !settled.hasExpired() || trusted.hasExpired()) {
        ports = QSerialPortInfo::availablePorts();
        trusted.setRemainingTime(longestTrust);
    }
    return ports;
}

QSerialPortInfo getPortBySerialNumber(QString& serial)
{
    return findController(serial, {UsbId::bootloader, UsbId::device});
}

QSerialPortInfo getBootloaderPortBySerialNumber(QString& serial)
{
    return findController(serial, {UsbId::bootloader});
}

QSerialPortInfo getDevicePortBySerialNumber(QString& serial)
{
    return findController(serial, {UsbId::device});
}

bool operator==(QSerialPortInfo left, QSerialPortInfo right)
{
    return left.systemLocation() == right.systemLocation() && left.portName() == right.portName() &&
           left.description() == right.description() &&
           left.manufacturer() == right.manufacturer() &&
           left.serialNumber() == right.serialNumber();
}
