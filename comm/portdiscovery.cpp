// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portdiscovery.h"

#include <algorithm>

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
