// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

namespace formats {

// The time stamp in the names of all files that the console writes: local time, to the second. Two
// files of one kind within a second share a name.
inline QString fileStamp()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy.MM.dd-HHmmss"));
}

} // namespace formats
