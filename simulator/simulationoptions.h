// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/virtualcontroller.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace simulator {

// What the command line of virtual-xcu asks for.
struct SimulationOptions
{
    std::vector<ControllerOptions> controllers;
    bool interactive = false;
    QStringList commands; // to be carried out from the start on
    QString commandsPath;
    QString statsPath;
    QString tracePath;
    QStringList program; // and its arguments; may be empty
};

constexpr int wrongUsage = 2; // exit code of a wrong command line

// Ends the process where the command line is wrong or asks for help or the version.
SimulationOptions parseCommandLine(const QStringList& arguments);

// A rate in items a second, or the word "flood"; negative if it is neither.
double parseRate(const QString& text);

} // namespace simulator
