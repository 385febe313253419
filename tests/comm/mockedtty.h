// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSerialPortInfo>
#include <QString>
#include <QStringList>

// What a tty reports of the USB device behind it; 0 leaves the property out.
struct UsbUnit
{
    QString serialNumber;
    quint16 product;
    quint16 vendor;
};

UsbUnit runningDevice(const QString& serialNumber);
UsbUnit inBootloader(const QString& serialNumber);

// A serial port on the USB bus whose far end the test holds byte by byte: anything may be put on
// the line, and any kind of device may stand behind it. Plugged in as long as it lives.
class MockedTty
{
public:
    explicit MockedTty(const UsbUnit& unit);
    ~MockedTty();
    MockedTty(const MockedTty&) = delete;
    MockedTty& operator=(const MockedTty&) = delete;

    QString name() const { return portName; }
    QSerialPortInfo info() const;

    void write(const QByteArray& bytes); // towards the program
    QByteArray read();                   // what the program has sent since the last call

private:
    QString portName;
    QStringList devices; // in /sys, the tty first
    int master = -1;
    int slave = -1;
};
