// SPDX-License-Identifier: GPL-3.0-or-later
#include "mockedtty.h"

#include "simulator/testbed.h"

#include <QCoreApplication>
#include <QFile>

namespace {

Testbed& testbed()
{
    static Testbed bed;
    return bed;
}

} // namespace

MockedTty::MockedTty(const QString& serialNumber, Guise guise)
{
    static int count = 0;
    terminal.setReadNotification(false); // the test asks when it likes
    portName = QStringLiteral("ttyACM%1x%2").arg(QCoreApplication::applicationPid()).arg(count++);
    testbed().addPort(portName, terminal.path(), serialNumber, guise);
}

MockedTty::~MockedTty()
{
    testbed().removePort(portName);
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

void MockedTty::disguise(const QByteArray& property, const QByteArray& replacement)
{
    QFile file(testbed().root() + "/sys/class/tty/" + portName + "/uevent");
    if (!file.open(QIODevice::ReadWrite)) {
        qFatal("the device has no properties");
    }
    const QByteArray properties = file.readAll().replace(property, replacement);
    file.resize(0);
    file.write(properties);
}

void MockedTty::write(const QByteArray& bytes)
{
    if (terminal.write(bytes.constData(), bytes.size()) != bytes.size()) {
        qFatal("the line takes no more");
    }
}
