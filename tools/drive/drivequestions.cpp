// SPDX-License-Identifier: GPL-3.0-or-later
#include "drivequestions.h"

#include "driveobjects.h"

#include <QAbstractItemView>
#include <QStatusBar>
#include <cstdio>
#include <qcustomplot.h>

namespace {

void answer(const QStringList& words, const char* question, const QString& text)
{
    std::fprintf(stderr, "%s.%s: %s\n", qPrintable(words[1]), question, qPrintable(text));
}

void answerRows(const QStringList& words, const QAbstractItemModel& model)
{
    for (int row = 0; row < model.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < model.columnCount(); ++column) {
            cells.append(model.index(row, column).data().toString());
        }
        answer(words, "texts", cells.join('\t'));
    }
}

} // namespace

DriveResult print(const QStringList& words)
{
    QObject* object = findObject(words[1]);
    if (object != nullptr) {
        answer(words, qPrintable(words[2]), shownText(object, words[2]));
    }
    return {object != nullptr, QString(), 0};
}

DriveResult texts(const QStringList& words)
{
    const QObject* object = findObject(words[1]);
    if (object == nullptr) {
        return {false, QString(), 0};
    }
    if (const auto* view = qobject_cast<const QAbstractItemView*>(object)) {
        answerRows(words, *view->model());
        return {};
    }
    for (const QWidget* widget : object->findChildren<QWidget*>()) {
        const QVariant text = widget->property("text");
        if (text.isValid()) {
            answer(words, "texts", text.toString());
        }
    }
    return {};
}

DriveResult count(const QStringList& words)
{
    const QObject* object = findObject(words[1]);
    int number = 0;
    for (const QObject* child :
         object == nullptr ? QObjectList() : object->findChildren<QObject*>()) {
        number += child->inherits(qPrintable(words[2])) ? 1 : 0;
    }
    answer(words, "count", QString::number(number));
    return {object != nullptr, QString(), 0};
}

DriveResult points(const QStringList& words)
{
    const auto* plot = qobject_cast<const QCustomPlot*>(findObject(words[1]));
    const QCPGraph* graph = plot == nullptr ? nullptr : plot->graph(words[2].toInt());
    if (graph == nullptr) {
        return {false, QString(), 0};
    }
    QStringList listed;
    for (const QCPGraphData& point : *graph->data()) {
        listed.append(
            QStringLiteral("%1 %2").arg(point.key, 0, 'g', 17).arg(point.value, 0, 'g', 17));
    }
    answer(words, "points", listed.join(';'));
    return {};
}

DriveResult follow(const QStringList& words)
{
    const auto* bar = qobject_cast<QStatusBar*>(findObject(words[1]));
    if (bar != nullptr) {
        QObject::connect(bar, &QStatusBar::messageChanged, [words](const QString& text) {
            answer(words, "message", text);
        });
    }
    return {bar != nullptr, QString(), 0};
}
