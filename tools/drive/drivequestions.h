// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "drivecommands.h"

// The commands that change nothing. Their answers go to standard error, each line with the object
// and the question in front: "faultStatus.text: Faults: 3/0".

DriveResult print(const QStringList& words);
DriveResult texts(const QStringList& words);
DriveResult count(const QStringList& words);
DriveResult points(const QStringList& words);
DriveResult follow(const QStringList& words);
