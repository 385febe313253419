// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

namespace formats {

// The time stamp in the names of all files that the console writes, to the second: two files of
// one kind within a second share a name. Callers pass local time.
inline QString fileStamp(const QDateTime& time)
{
    return time.toString(QStringLiteral("yyyy.MM.dd-HHmmss"));
}

} // namespace formats
