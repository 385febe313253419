// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/commandinput.h"
#include "simulator/controllerunit.h"
#include "simulator/linecommands.h"
#include "simulator/linetrace.h"
#include "simulator/programrunner.h"
#include "simulator/signalcatcher.h"
#include "simulator/simulationoptions.h"
#include "simulator/testbed.h"

#include <QObject>
#include <memory>
#include <vector>

namespace simulator {

// What virtual-xcu is: controllers on a bus, perhaps a program that uses them, and somebody who
// gives commands.
class Simulation : public QObject
{
    Q_OBJECT

public:
    static constexpr int wrongUsage = 2; // exit code

    explicit Simulation(SimulationOptions wanted, QObject* parent = nullptr);

    // Ends the application by its exit code when all is over.
    void start();
    void writeStatistics() const;

private:
    void addController(const ControllerOptions& options);
    void scheduleCable(MockedPort& port);
    bool listenTo(int descriptor);
    void printEnvironment() const;
    void stop(int exitCode, int signalNumber);
    QString statistics() const;

    SimulationOptions options;
    LineTrace trace;
    Testbed testbed;
    std::vector<std::unique_ptr<ControllerUnit>> units;
    std::unique_ptr<LineCommands> commands;
    std::vector<std::unique_ptr<CommandInput>> sources;
    ProgramRunner runner;
    SignalCatcher signalCatcher;
};

} // namespace simulator
