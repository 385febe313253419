// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/controlleroptions.h"
#include "simulator/pseudoterminal.h"

#include <QByteArray>
#include <QSerialPortInfo>
#include <QString>

// A serial port on the USB bus whose far end the test holds byte by byte. It is plugged in as long
// as it lives, and every one has a name of its own.
class MockedTty
{
public:
    explicit MockedTty(const QString& serialNumber, Guise guise = Guise::Device);
    ~MockedTty();
    MockedTty(const MockedTty&) = delete;
    MockedTty& operator=(const MockedTty&) = delete;

    QString name() const { return portName; }
    QSerialPortInfo info() const;

    // Another text instead of one that the system tells of the device, such as "ID_MODEL_ID=eef0".
    void disguise(const QByteArray& property, const QByteArray& replacement);

    void write(const QByteArray& bytes);          // towards the program
    QByteArray read() { return terminal.read(); } // some of what the program has sent

private:
    PseudoTerminal terminal;
    QString portName;
};
