// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulation.h"

#include <QCoreApplication>
#include <QTextStream>
#include <QTimer>

using namespace simulator;

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("virtual-xcu"));
    QCoreApplication::setApplicationVersion(QStringLiteral(XCU_VERSION));

    const ParsedCommandLine commandLine = parseCommandLine(QCoreApplication::arguments());
    if (!commandLine.help.isEmpty()) {
        QTextStream(stdout) << commandLine.help;
        return 0;
    }
    if (!commandLine.error.isEmpty()) {
        QTextStream(stderr) << "virtual-xcu: " << commandLine.error << "; try --help\n";
        return Simulation::wrongUsage;
    }

    Simulation simulation(commandLine.options);
    QTimer::singleShot(0, &simulation, &Simulation::start);
    const int exitCode = QCoreApplication::exec();
    simulation.writeStatistics();
    return exitCode;
}
