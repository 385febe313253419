// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/identifierlist.h"

QStringList IdentifierList::takeNew(const QList<int>& identifiers)
{
    QStringList texts;
    for (const int identifier : identifiers) {
        if (!shown.contains(identifier)) {
            shown.insert(identifier);
            texts.append(QStringLiteral("0x%1").arg(identifier, 3, 16, QLatin1Char('0')));
        }
    }
    texts.sort();
    return texts;
}
