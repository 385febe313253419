// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/linecommands.h"
#include "simulator/mockedport.h"
#include "simulator/simulationoptions.h"
#include "simulator/testbed.h"

#include <QFile>
#include <QObject>
#include <QProcess>
#include <QSocketNotifier>
#include <memory>
#include <vector>

namespace simulator {

// All of virtual-xcu: controllers on a bus, the program that uses them, if any, and line commands.
// A process has one such object at the most, as it catches the process's signals.
//
// With a trace it writes down all that happens on the serial lines, as it happens; the format is in
// the manual page. Bytes are cut anywhere; half a frame ahead of any other event is never
// completed.
class Simulation : public QObject
{
    Q_OBJECT

public:
    // Exit codes, as a shell gives them.
    static constexpr int cannotRun = 127;
    static constexpr int signalBase = 128; // plus the number of the signal that ended the program

    explicit Simulation(SimulationOptions wanted);

    // Runs the application and gives its exit code.
    int run();

private:
    void addController(const ControllerOptions& options);
    void tracePort(const MockedPort& port, const QString& who);
    void writeTrace(const QString& who, const char* what, const QByteArray& details = {});
    bool listenTo(int descriptor);
    void carryOut(const QString& line);
    void printEnvironment();
    void startProgram();
    void catchSignals();
    void stop(int exitCode, int signalNumber);
    void writeStatistics() const;

    SimulationOptions options;
    QFile trace;
    Testbed testbed;
    MockedPorts ports;
    std::vector<std::unique_ptr<CommandInput>> inputs;
    QProcess program;
    std::unique_ptr<QSocketNotifier> signalNotifier;
};

} // namespace simulator
