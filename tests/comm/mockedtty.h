// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/pseudoterminal.h"
#include "simulator/testbed.h"

#include <QSerialPortInfo>
#include <QtTest>
#include <functional>

// A serial port on the USB bus whose far end the test holds byte by byte. It is plugged in as long
// as it lives, and every one has a name of its own.
class MockedTty
{
public:
    explicit MockedTty(const QString& serialNumber, simulator::Mode mode = simulator::Mode::Device)
    {
        static int count = 0;
        terminal.setReadNotification(false); // the test asks when it likes
        name = QStringLiteral("ttyACM%1x%2").arg(QCoreApplication::applicationPid()).arg(count++);
        add = [=] { testbed().addPort(name, terminal.path(), serialNumber, mode); };
        add();
    }
    ~MockedTty() { testbed().removePort(name); }

    // Unplugged and plugged in again.
    void remake()
    {
        testbed().removePort(name);
        add();
    }

    QSerialPortInfo info() const { return QSerialPortInfo(name); }

    // Another text instead of one that the system tells of the device, such as "ID_MODEL_ID=eef0".
    void replaceProperty(const QByteArray& property, const QByteArray& replacement)
    {
        QFile file(testbed().root() + "/sys/class/tty/" + name + "/uevent");
        QVERIFY(file.open(QIODevice::ReadWrite));
        const QByteArray properties = file.readAll().replace(property, replacement);
        file.resize(0);
        file.write(properties);
    }

    void write(const QByteArray& bytes) // towards the program
    {
        QCOMPARE(terminal.write(bytes.constData(), bytes.size()), bytes.size());
    }
    QByteArray read() { return terminal.read(); } // some of what the program has sent

    QString name;

private:
    static simulator::Testbed& testbed()
    {
        static simulator::Testbed bed;
        return bed;
    }

    simulator::PseudoTerminal terminal;
    std::function<void()> add;
};
