// SPDX-License-Identifier: GPL-3.0-or-later
#include "driveobjects.h"

#include <QApplication>
#include <QStatusBar>

namespace {

QObject* findByPlace(const QStringList& parts)
{
    const QObject* parent = findObject(parts[0]);
    int place = parts[2].toInt();
    for (QObject* child : parent == nullptr ? QObjectList() : parent->findChildren<QObject*>()) {
        if (child->inherits(qPrintable(parts[1])) && place-- == 0) {
            return child;
        }
    }
    return nullptr;
}

} // namespace

QObject* findObject(const QString& name)
{
    const QStringList parts = name.split(':');
    if (parts.size() == 3) {
        return findByPlace(parts);
    }
    QObject* found = nullptr;
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() == name) {
            found = window;
        }
        const QList<QObject*> inside = window->findChildren<QObject*>(name);
        if (!inside.isEmpty()) {
            found = inside.last();
        }
    }
    return found;
}

QWidget* findWidget(const QString& name)
{
    return qobject_cast<QWidget*>(findObject(name));
}

QString shownText(QObject* object, const QString& property)
{
    const auto* bar = qobject_cast<QStatusBar*>(object);
    if (bar != nullptr && property == QLatin1String("message")) {
        return bar->currentMessage();
    }
    return object->property(qPrintable(property)).toString();
}
