// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDeadlineTimer>
#include <QList>
#include <QSerialPortInfo>
#include <QString>
#include <QStringList>
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

// The attached serial ports, cheap enough to be asked for ten times a second on the GUI thread.
//
// QSerialPortInfo::availablePorts() takes about 0.1 ms for each tty of the machine. This looks at
// the tty class directory first and enumerates when an entry there has come, gone or been made anew
// since the last call: a unit may be back as its bootloader under the same name. It also
// enumerates for two seconds after such a change, while the system still fills in the properties of
// a new port, and once a second in any case: properties that change without a new entry are seen
// that much later. Where the entries cannot be had, every call enumerates.
class PortList
{
public:
    // The ports in the order of QSerialPortInfo::availablePorts().
    QList<QSerialPortInfo> availablePorts();

private:
    QStringList entries; // of the tty class
    QList<QSerialPortInfo> ports;
    QDeadlineTimer settled; // expires some time after the entries have changed
    QDeadlineTimer trusted; // expires when ports are too old
};

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
