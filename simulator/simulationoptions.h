// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/controlleroptions.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace simulator {

// What the command line of virtual-xcu asks for.
struct SimulationOptions
{
    std::vector<ControllerOptions> controllers;
    int unplugAfterMs = 0;     // the cable is pulled so long after it was plugged in; 0 for never
    int replugAfterMs = 0;     // and put back so long after that; 0 for never
    int bootloaderAfterMs = 0; // reset into the bootloader so long after the start; 0 for never
    bool interactive = false;
    QString commandsPath;
    QString statsPath;
    QString tracePath;
    QStringList program; // and its arguments; may be empty
};

struct ParsedCommandLine
{
    SimulationOptions options;
    QString help;  // not empty if help or the version was asked for
    QString error; // not empty if the command line is wrong
};

ParsedCommandLine parseCommandLine(const QStringList& arguments);

// A rate in items a second, or the word "flood"; negative if it is neither.
double parseRate(const QString& text);

} // namespace simulator
