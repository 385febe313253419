// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QSerialPortInfo>
#include <QString>
#include <initializer_list>

namespace comm {

// A controller is a USB device with a virtual serial port. A unit that was reset into its
// bootloader has another product identifier than the running device, and the same serial number.
namespace UsbId {
constexpr quint16 vendor = 0x04D8;
constexpr quint16 bootloader = 0xEEEF;
constexpr quint16 device = 0xEEF0;
} // namespace UsbId

// True for a port of a controller with one of these product identifiers.
bool isControllerPort(
    const QSerialPortInfo& port,
    std::initializer_list<quint16> products = {UsbId::bootloader, UsbId::device});

// Those of the ports that belong to controllers, as device or bootloader, in their order.
QList<QSerialPortInfo> controllerPorts(QList<QSerialPortInfo> ports);

} // namespace comm

// The port of the unit with exactly this USB serial number: as device or bootloader, or only as
// what the name says. The first match in the order of QSerialPortInfo::availablePorts() wins; a
// null info means that there is none. Nothing is opened or probed.
QSerialPortInfo getPortBySerialNumber(QString& serial);
QSerialPortInfo getBootloaderPortBySerialNumber(QString& serial);
QSerialPortInfo getDevicePortBySerialNumber(QString& serial);

// Equality of what a port is called: location, name, description, manufacturer, serial number. The
// USB identifiers are left out on purpose: a bootloader has another description. Stands in the
// global namespace, where QList<QSerialPortInfo>::operator== finds it.
bool operator==(QSerialPortInfo left, QSerialPortInfo right);
