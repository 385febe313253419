// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulation.h"

#include <QCoreApplication>

using namespace simulator;

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("virtual-xcu"));
    QCoreApplication::setApplicationVersion(QStringLiteral(XCU_VERSION));

    return Simulation(parseCommandLine(QCoreApplication::arguments())).run();
}
