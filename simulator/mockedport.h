// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/virtualcontroller.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>
#include <memory>
#include <utility>

namespace simulator {

class PseudoTerminal;
class Testbed;

// The USB serial port of one virtual controller, in a testbed. It is not plugged in at first. Name
// and serial number stay for its life; every time it is plugged in it gets a new terminal.
//
// Testbed and controller have to outlive the port; the three share one thread with an event loop,
// which need not be that of the windows.
class MockedPort : public QObject
{
    Q_OBJECT

public:
    MockedPort(Testbed& bed, VirtualController& unit);
    ~MockedPort() override;

    // "ttyACM<process id>x<n>": a program that opens a port locks its name for the whole machine.
    QString name() const { return portName; }
    bool isPlugged() const { return terminal != nullptr; }
    bool isInUse() const { return inUse; } // a program has the port open

    // Neither does anything the second time. A port in use fails for its program when unplugged.
    void plug();
    void unplug();
    // Takes the unit from the bus, restarts it in the given mode, and brings it back after 400 ms:
    // long enough that nobody takes it for a port that has never gone.
    void restartIn(Mode mode);

signals:
    void plugged();
    void unplugged();
    void opened();                          // by a program
    void closed();                          // by the last program, or by its death
    void received(const QByteArray& bytes); // from the program
    void sent(const QByteArray& bytes);     // taken over by the terminal; valid in the slot only

private:
    void transmit(const QByteArray& bytes);
    void readAll();
    void write();
    void updateUse();
    void setInUse(bool used);
    void dropOutput();
    int backlog() const { return output.size() - outputStart; }
    void updateReadiness();

    Testbed& testbed;
    VirtualController& controller;
    QString portName;
    std::unique_ptr<PseudoTerminal> terminal;
    QByteArray output; // what the terminal has not taken yet
    int outputStart = 0;
    bool inUse = false;
    bool isFull = false;
    QTimer returnTimer; // runs while the unit is away to restart
};

// A controller with its port.
struct ControllerUnit
{
    ControllerUnit(Testbed& testbed, ControllerOptions options)
        : controller(std::move(options))
        , port(testbed, controller)
    {}

    VirtualController controller;
    MockedPort port;
};

} // namespace simulator
