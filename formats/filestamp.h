// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QLocale>
#include <QString>

namespace formats {

// The name of a file that the console writes now: the pattern with the local time, to the second,
// for its "%1". Two files of one kind within a second share a name.
inline QString stampedName(const char* pattern)
{
    // Not QDateTime's own toString(): in some languages that has other digits.
    const QString stamp =
        QLocale::c().toString(QDateTime::currentDateTime(), QStringLiteral("yyyy.MM.dd-HHmmss"));
    return QString::fromLatin1(pattern).arg(stamp);
}

} // namespace formats
