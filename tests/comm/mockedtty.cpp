// SPDX-License-Identifier: GPL-3.0-or-later
#include <umockdev.h> // before Qt, whose keyword "signals" is a member name in there

#include "mockedtty.h"

#include "comm/portdiscovery.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

UMockdevTestbed* testbed()
{
    static UMockdevTestbed* const bed = umockdev_testbed_new();
    return bed;
}

QString hex(quint16 identifier)
{
    return QString::number(identifier, 16).rightJustified(4, '0');
}

QString property(const char* name, quint16 identifier)
{
    return identifier ? QStringLiteral("E: %1=%2\n").arg(QLatin1String(name), hex(identifier))
                      : QString();
}

} // namespace

UsbUnit runningDevice(const QString& serialNumber)
{
    return {serialNumber, UsbId::device, UsbId::vendor};
}

UsbUnit inBootloader(const QString& serialNumber)
{
    return {serialNumber, UsbId::bootloader, UsbId::vendor};
}

MockedTty::MockedTty(const UsbUnit& unit)
{
    static int count = 0;
    ++count;
    // A name of its own: opening locks it for the whole machine, whatever the testbed.
    portName = QStringLiteral("ttyACM%1x%2").arg(QCoreApplication::applicationPid()).arg(count);
    const QString usb = QStringLiteral("/devices/pci0000:00/0000:00:14.0/usb1/1-%1").arg(count);
    const QString interface = QStringLiteral("%1/1-%2:1.0").arg(usb).arg(count);
    devices = QStringList{interface + "/tty/" + portName, interface, usb};
    if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
        qFatal("no terminal");
    }
    termios line{};
    tcgetattr(slave, &line);
    cfmakeraw(&line);
    tcsetattr(slave, TCSANOW, &line);
    const int nonBlocking = 1;
    ioctl(master, FIONBIO, &nonBlocking);

    const QString description =
        QStringLiteral("P: %1\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\n\n"
                       "P: %2\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\n\n"
                       "P: %3\nE: SUBSYSTEM=tty\nE: DEVNAME=/dev/%4\nA: dev=166:%5\n")
            .arg(usb, interface, devices.first(), portName)
            .arg(count) +
        QStringLiteral("E: ID_BUS=usb\nE: ID_MODEL=%1\nE: ID_SERIAL_SHORT=%2\n")
            .arg(hex(unit.product), unit.serialNumber) +
        property("ID_VENDOR_ID", unit.vendor) + property("ID_MODEL_ID", unit.product);
    GError* error = nullptr;
    if (!umockdev_testbed_add_from_string(testbed(), description.toUtf8(), &error)) {
        qFatal("%s", error->message);
    }
    gchar* const root = umockdev_testbed_get_root_dir(testbed());
    const QDir nodes(QString::fromUtf8(root) + "/dev");
    g_free(root);
    nodes.mkpath(".");
    QFile::link(QString::fromLocal8Bit(ttyname(slave)), nodes.filePath(portName));
}

MockedTty::~MockedTty()
{
    for (const QString& path : devices) {
        umockdev_testbed_remove_device(testbed(), ("/sys" + path).toUtf8());
    }
    ::close(slave);
    ::close(master);
}

QSerialPortInfo MockedTty::info() const
{
    for (const QSerialPortInfo& port : QSerialPortInfo::availablePorts()) {
        if (port.portName() == portName) {
            return port;
        }
    }
    return QSerialPortInfo();
}

void MockedTty::write(const QByteArray& bytes)
{
    if (::write(master, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size()) {
        qFatal("the line takes no more");
    }
}

QByteArray MockedTty::read()
{
    QByteArray bytes(1 << 16, '\0');
    const auto size = ::read(master, bytes.data(), static_cast<size_t>(bytes.size()));
    bytes.truncate(size > 0 ? static_cast<int>(size) : 0);
    return bytes;
}
