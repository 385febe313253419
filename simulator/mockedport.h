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
    // A unit that changes its guise stays away for so long, so that nobody takes one for the other.
    static constexpr int absenceMs = 400;

    MockedPort(Testbed& bed, VirtualController& unit, QObject* parent = nullptr);
    ~MockedPort() override;

    // "ttyACM<process id>x<n>": a program that opens a port locks its name for the whole machine.
    QString name() const { return portName; }
    bool isPlugged() const { return terminal != nullptr; }
    bool isInUse() const { return inUse; } // a program has the port open

    // The cable. Plugging in again what is plugged does nothing, nor does unplugging twice. A port
    // that is in use fails for its program when the cable is pulled.
    void plug();
    void unplug();
    // Takes the unit from the bus, restarts it in the given guise, and brings it back after
    // absenceMs.
    void changeGuise(Guise guise);

signals:
    void plugged();
    void unplugged();
    void opened();                          // by a program
    void closed();                          // by the last program, or by its death
    void received(const QByteArray& bytes); // from the program
    void sent(const QByteArray& bytes);     // taken over by the terminal; valid in the slot only

private:
    void transmit(const QByteArray& bytes);
    void readLine();
    void receiveAll();
    void writeLine();
    void followUse();
    void setInUse(bool used);
    void dropOutput();
    int backlog() const { return output.size() - outputStart; }
    void tellLine();

    Testbed& testbed;
    VirtualController& controller;
    QString portName;
    std::unique_ptr<PseudoTerminal> terminal;
    QByteArray output; // what the terminal has not taken yet
    int outputStart = 0;
    bool inUse = false;
    bool lineFull = false;
    QTimer returnTimer; // runs while the unit is away to change its guise
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
