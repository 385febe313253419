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
    int unplugAfterMs = 0;     // after it was plugged in; 0 for never
    int replugAfterMs = 0;     // after it was unplugged; 0 for never
    int bootloaderAfterMs = 0; // reset into the bootloader so long after the start; 0 for never
    bool interactive = false;
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
