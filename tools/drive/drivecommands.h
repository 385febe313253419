// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

struct DriveResult
{
    bool done = true;   // false: try again later
    QString error = {}; // not empty: the line makes no sense
};

// Carries out one command, all but a pause.
DriveResult runDriveCommand(const QStringList& words);
