// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QSerialPortInfo>
#include <QString>
#include <initializer_list>

namespace comm {

// A controller is a USB device with a virtual serial port. One unit has two guises, told apart by
// the product identifier; its USB serial number is the same in both.
namespace UsbId {
constexpr quint16 vendor = 0x04D8;
constexpr quint16 bootloader = 0xEEEF;
constexpr quint16 device = 0xEEF0;
} // namespace UsbId

// True for a port of a controller in one of the given guises.
bool isControllerPort(
    const QSerialPortInfo& port,
    std::initializer_list<quint16> guises = {UsbId::bootloader, UsbId::device});

// Those of the ports that belong to controllers in either guise, in their order.
QList<QSerialPortInfo> controllerPorts(QList<QSerialPortInfo> ports);

} // namespace comm

// The port of the unit with exactly this USB serial number, in either guise or in the named one.
// The first match in the order of QSerialPortInfo::availablePorts() wins; a null info means that
// there is none. Nothing is opened or probed.
QSerialPortInfo getPortBySerialNumber(QString& serial);
QSerialPortInfo getBootloaderPortBySerialNumber(QString& serial);
QSerialPortInfo getDevicePortBySerialNumber(QString& serial);

// Equality of what a port is called: location, name, description, manufacturer, serial number. The
// USB identifiers are left out on purpose: guises are told apart by their description. Stands in
// the global namespace, where QList<QSerialPortInfo>::operator== finds it.
bool operator==(QSerialPortInfo left, QSerialPortInfo right);
