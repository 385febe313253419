// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QSet>
#include <QStringList>

// What the list of imported identifiers already shows.
class IdentifierList
{
public:
    // The texts of those identifiers that are not shown yet, in the order of the list: by
    // character and not by value, so that "0x18daf110" stands before "0x7ff". From now on they
    // count as shown.
    QStringList takeNew(const QList<int>& identifiers);

private:
    QSet<int> shown;
};
