// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QWidget>

// The object of that name below any window; the latest window wins, so that the newest of several
// viewers answers. PARENT:CLASS:N is the nth object, from 0, of a class below another one, for
// those that have no name. Null if there is none.
QObject* findObject(const QString& name);
QWidget* findWidget(const QString& name);

// What a person reads on the object.
QString shownText(QObject* object, const QString& property);
