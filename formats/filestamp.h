// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

namespace formats {

// The name of a file that the console writes now: the pattern with the local time, to the second,
// for its "%1". Two files of one kind within a second share a name.
inline QString stampedName(const char* pattern)
{
    const QString stamp = QDateTime::currentDateTime().toString("yyyy.MM.dd-HHmmss");
    return QString::fromLatin1(pattern).arg(stamp);
}

} // namespace formats
