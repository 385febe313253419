// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

struct DriveResult
{
    bool done = true;        // false: try again later
    QString error;           // not empty: the line makes no sense
    int extraPatienceMs = 0; // how much longer than usual a line may be tried
};

// Carries out one command; elapsedMs is the time since it was first tried.
DriveResult runDriveCommand(const QStringList& words, qint64 elapsedMs);
