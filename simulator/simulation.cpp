// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulation.h"

#include "simulator/statistics.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace simulator {

namespace {

// Standard output belongs to the program that runs.
void tell(const QString& text)
{
    QTextStream(stderr) << "virtual-xcu: " << text << '\n';
}

} // namespace

Simulation::Simulation(SimulationOptions wanted, QObject* parent)
    : QObject(parent)
    , options(std::move(wanted))
    , trace(options.tracePath)
{
    std::vector<ControllerUnit*> controllers;
    for (const ControllerOptions& controller : options.controllers) {
        addController(controller);
        controllers.push_back(units.back().get());
    }
    commands = std::make_unique<LineCommands>(controllers);
    connect(commands.get(), &LineCommands::quit, this, [this] { stop(0, SIGTERM); });
    connect(commands.get(), &LineCommands::statsWanted, this, [this] {
        QTextStream(stderr) << statistics();
        writeStatistics();
    });
    connect(&signalCatcher, &SignalCatcher::caught, this, [this](int number, bool fromTerminal) {
        // The terminal has told the program already; twice may mean more than once.
        if (!fromTerminal || !runner.isRunning()) {
            stop(ProgramRunner::signalBase + number, number);
        }
    });
    connect(&runner, &ProgramRunner::ended, this, &QCoreApplication::exit);
    connect(&runner, &ProgramRunner::failedToStart, this, &tell);
}

void Simulation::addController(const ControllerOptions& controller)
{
    units.push_back(std::make_unique<ControllerUnit>(testbed, controller));
    MockedPort& port = units.back()->port;
    const QString who = controller.serialNumber + " on " + port.name();
    connect(&port, &MockedPort::plugged, this, [=] { tell(who + " is plugged in"); });
    connect(&port, &MockedPort::unplugged, this, [=] { tell(who + " is gone"); });
    trace.follow(*units.back());
    scheduleCable(port);
    if (options.bootloaderAfterMs > 0) {
        QTimer::singleShot(
            options.bootloaderAfterMs, &port, [&port] { port.changeGuise(Guise::Bootloader); });
    }
    port.plug();
}

void Simulation::scheduleCable(MockedPort& port)
{
    const auto addTimer = [&](int intervalMs, auto starter, auto stopper, auto action) {
        if (intervalMs > 0) {
            auto* timer = new QTimer(&port);
            timer->setSingleShot(true);
            timer->setInterval(intervalMs);
            connect(&port, starter, timer, QOverload<>::of(&QTimer::start));
            connect(&port, stopper, timer, &QTimer::stop);
            connect(timer, &QTimer::timeout, &port, action);
        }
    };
    addTimer(
        options.unplugAfterMs, &MockedPort::plugged, &MockedPort::unplugged, &MockedPort::unplug);
    addTimer(
        options.replugAfterMs, &MockedPort::unplugged, &MockedPort::plugged, &MockedPort::plug);
}

void Simulation::start()
{
    if (!trace.isUsable()) {
        tell("the trace cannot be written to " + options.tracePath);
        QCoreApplication::exit(wrongUsage);
        return;
    }
    if (options.interactive) {
        listenTo(::dup(STDIN_FILENO));
    }
    if (!options.commandsPath.isEmpty() &&
        !listenTo(CommandInput::openPath(options.commandsPath))) {
        tell("no commands can be read from " + options.commandsPath);
        QCoreApplication::exit(wrongUsage);
    } else if (options.program.isEmpty()) {
        printEnvironment();
    } else {
        runner.start(
            options.program, testbed.addTo(QProcessEnvironment::systemEnvironment()),
            !options.interactive);
    }
}

bool Simulation::listenTo(int descriptor)
{
    if (descriptor < 0) {
        return false;
    }
    sources.push_back(std::make_unique<CommandInput>(descriptor));
    connect(sources.back().get(), &CommandInput::line, this, [this](const QString& line) {
        trace.add(QStringLiteral("-"), "told", line.toUtf8());
        const QString result = commands->execute(line);
        if (!result.isEmpty()) {
            tell(result);
        }
    });
    return true;
}

void Simulation::printEnvironment() const
{
    const QProcessEnvironment environment = testbed.addTo({});
    QTextStream out(stdout);
    for (const QString& name : environment.keys()) {
        out << "export " << name << '=' << environment.value(name) << '\n';
    }
}

void Simulation::stop(int exitCode, int signalNumber)
{
    if (runner.isRunning()) {
        runner.sendSignal(signalNumber);
    } else {
        QCoreApplication::exit(exitCode);
    }
}

QString Simulation::statistics() const
{
    QString text;
    for (const auto& unit : units) {
        text += statisticsText(*unit);
    }
    return text;
}

void Simulation::writeStatistics() const
{
    if (options.statsPath.isEmpty()) {
        return;
    }
    QFile file(options.statsPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(statistics().toUtf8()) < 0) {
        tell("the counts cannot be written to " + options.statsPath);
    }
}

} // namespace simulator
