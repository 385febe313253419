// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/virtualcontroller.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>

namespace simulator {

class PseudoTerminal;
class Testbed;

// A virtual controller with a USB serial port in a testbed. It is not plugged in at first. Name and
// serial number stay for its life; every time it is plugged in it gets a new terminal.
//
// The testbed has to outlive the port; the two share one thread with an event loop, which need not
// be that of the windows.
class MockedPort : public QObject
{
    Q_OBJECT

public:
    MockedPort(Testbed& bed, ControllerOptions options);
    ~MockedPort() override;

    VirtualController& controller() { return unit; }
    // "ttyACM<process id>x<n>": a program that opens a port locks its name for the whole machine.
    QString name() const { return portName; }
    bool isPlugged() const { return terminal != nullptr; }
    bool isInUse() const { return inUse; } // a program has the port open

    // A second call of either does nothing. A program that has the port open when it is unplugged
    // gets errors.
    void plug();
    void unplug();
    // Takes the controller from the bus, restarts it in the given mode, and brings it back after
    // 400 ms: long enough that nobody takes it for a port that has never gone.
    void restartIn(Mode mode);

signals:
    void plugged();
    void unplugged();
    void useChanged(bool isInUse); // a program opened the port; the last one closed it, or died
    void received(const QByteArray& bytes); // from the program
    void sent(const QByteArray& bytes);     // taken over by the terminal; valid in the slot only

private:
    void transmit(const QByteArray& bytes);
    void readAll();
    void write();
    void updateUse();
    void setInUse(bool used);
    void endUse();
    int backlog() const { return output.size() - outputStart; }
    void updateReadiness();

    Testbed& testbed;
    VirtualController unit;
    QString portName;
    std::unique_ptr<PseudoTerminal> terminal;
    QByteArray output; // what the terminal has not taken yet
    int outputStart = 0;
    bool inUse = false;
    bool isFull = false;
    QTimer returnTimer; // runs while the unit is away to restart
};

} // namespace simulator
