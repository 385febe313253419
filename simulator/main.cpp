// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulation.h"

#include <QCoreApplication>
#include <QTimer>

using namespace simulator;

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("virtual-xcu"));
    QCoreApplication::setApplicationVersion(QStringLiteral(XCU_VERSION));

    Simulation simulation(parseCommandLine(QCoreApplication::arguments()));
    QTimer::singleShot(0, &simulation, &Simulation::start);
    const int exitCode = QCoreApplication::exec();
    simulation.writeStatistics();
    return exitCode;
}
