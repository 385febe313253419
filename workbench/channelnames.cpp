// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/channelnames.h"

#include <QSettings>

namespace workbench {

QStringList channelNames(int first, int end)
{
    QStringList names;
    if (first >= end) {
        return names; // opening the store is not free, and most records need no name
    }
    const QSettings settings(QStringLiteral("Zelmark-Tuning"), QStringLiteral("DataLogger"));
    for (int channel = first; channel < end; ++channel) {
        const QString key = QStringLiteral("ui/channels/%1/label").arg(channel);
        const QString defaultName = QStringLiteral("data %1").arg(channel + 1);
        names << settings.value(key, defaultName).toString();
    }
    return names;
}

} // namespace workbench
