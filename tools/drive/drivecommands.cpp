// SPDX-License-Identifier: GPL-3.0-or-later
#include "drivecommands.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenu>
#include <QRegularExpression>
#include <QStatusBar>
#include <QTest>
#include <cstdio>
#include <qcustomplot.h>

namespace {

using Words = QStringList;

const DriveResult done;
const DriveResult notYet{false};

DriveResult wrong(const QString& error)
{
    return {true, error};
}

// The object of that name below any window; the latest window wins, so that the newest of several
// viewers answers. PARENT:CLASS:N is the nth object, from 0, of a class below another one, for
// those that have no name. Null if there is none.
QObject* findObject(const QString& name)
{
    const QStringList parts = name.split(':');
    if (parts.size() == 3) {
        const QObject* parent = findObject(parts[0]);
        int place = parts[2].toInt();
        for (QObject* child : parent ? parent->findChildren<QObject*>() : QObjectList()) {
            if (child->inherits(qPrintable(parts[1])) && place-- == 0) {
                return child;
            }
        }
        return nullptr;
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

// What a person reads on the object.
QString shownText(const QObject& object, const QString& property)
{
    const auto* bar = qobject_cast<const QStatusBar*>(&object);
    if (bar && property == QLatin1String("message")) {
        return bar->currentMessage();
    }
    return object.property(qPrintable(property)).toString();
}

// A command for the object that is named first, as soon as there is one of the right class.
template <typename Target, DriveResult (*work)(Target&, const Words&)>
DriveResult on(const Words& words)
{
    auto* target = qobject_cast<Target*>(findObject(words[1]));
    return target ? work(*target, words) : notYet;
}

// Keys go to the active window, which nobody chooses where there is no window manager.
void activate(const QWidget& widget)
{
    if (widget.window()->windowType() != Qt::Popup) {
        QApplication::setActiveWindow(widget.window());
    }
}

// Mouse events go to what lies under the point, as from a real pointer.
template <Qt::MouseButton button>
DriveResult click(QWidget& widget, const Words& words)
{
    if (!widget.isVisible()) {
        return notYet;
    }
    activate(widget);
    const QPoint point =
        words.size() < 4 ? widget.rect().center() : QPoint(words[2].toInt(), words[3].toInt());
    QWidget* child = widget.childAt(point);
    QWidget* target = child ? child : &widget;
    QTest::mouseClick(target, button, Qt::NoModifier, target->mapFrom(&widget, point));
    return done;
}

// As typed: without an OBJECT, what has the focus gets the key.
DriveResult key(const Words& words)
{
    QWidget* widget = words.size() > 2 ? qobject_cast<QWidget*>(findObject(words[2]))
                                       : QApplication::focusWidget();
    const QKeySequence sequence(words[1]);
    if (sequence.isEmpty()) {
        return wrong(QStringLiteral("no such key"));
    }
    if (!widget) {
        return notYet;
    }
    activate(*widget); // a menu that was entered leaves no window active
    QTest::keySequence(widget, sequence);
    return done;
}

DriveResult type(QWidget& widget, const Words& words)
{
    widget.setFocus();
    QTest::keyClicks(&widget, words[2]);
    return done;
}

DriveResult set(QObject& object, const Words& words)
{
    const bool isSet = object.setProperty(qPrintable(words[2]), words[3]);
    return isSet ? done : wrong(QStringLiteral("no such property"));
}

DriveResult wait(QObject& object, const Words& words)
{
    const QRegularExpression pattern(words[3]);
    return pattern.match(shownText(object, words[2])).hasMatch() ? done : notYet;
}

DriveResult cell(QAbstractItemView& view, const Words& words)
{
    const QModelIndex index = view.model()->index(words[2].toInt(), words[3].toInt());
    view.model()->setData(index, words[4]);
    return index.isValid() ? done : notYet;
}

DriveResult select(QAbstractItemView& view, const Words& words)
{
    const QModelIndex first = view.model()->index(words[2].toInt(), words[3].toInt());
    const QModelIndex last = view.model()->index(words[4].toInt(), words[5].toInt());
    if (!first.isValid() || !last.isValid()) {
        return notYet;
    }
    view.setFocus();
    view.selectionModel()->select(QItemSelection(first, last), QItemSelectionModel::ClearAndSelect);
    return done;
}

DriveResult trigger(QAction& action, const Words&)
{
    action.trigger();
    return done;
}

// Opens the menu as a click does, so that menus filled on demand fill themselves.
DriveResult menu(QMenu& menu, const Words& words)
{
    menu.popup(menu.parentWidget()->mapToGlobal(QPoint()));
    QAction* action = menu.actions().value(words[2].toInt());
    if (!action) {
        menu.close();
        return notYet;
    }
    menu.setActiveAction(action);
    QTest::keyClick(&menu, Qt::Key_Return);
    return done;
}

DriveResult chooseFile(const Words& words)
{
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    auto* name = dialog ? dialog->findChild<QLineEdit*>("fileNameEdit") : nullptr;
    if (!name) {
        return notYet;
    }
    // Not selectFile(): that leaves alone what a person seems to be typing.
    name->setText(QDir::current().absoluteFilePath(words[1]));
    QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
    return done;
}

DriveResult grab(QWidget& widget, const Words& words)
{
    if (!widget.isVisible()) {
        return notYet;
    }
    QPixmap picture = widget.grab();
    if (words.size() > 4) {
        picture = picture.copy(0, 0, words[3].toInt(), words[4].toInt());
    }
    return picture.save(words[2]) ? done : wrong(QStringLiteral("the picture cannot be written"));
}

DriveResult resize(QWidget& widget, const Words& words)
{
    // A widget in a workspace has the size and place that its frame there gives it.
    auto* frame = qobject_cast<QMdiSubWindow*>(widget.parentWidget());
    QWidget& outer = frame ? *frame : widget;
    outer.resize(words[2].toInt(), words[3].toInt());
    if (words.size() > 5) {
        outer.move(words[4].toInt(), words[5].toInt());
    }
    return done;
}

DriveResult close(QWidget& widget, const Words&)
{
    widget.close();
    return done;
}

// Commands that change nothing answer on standard error, with the object and the question in front:
// "faultStatus.text: Faults: 3/0".
DriveResult answer(const Words& words, const char* question, const QString& text)
{
    std::fprintf(stderr, "%s.%s: %s\n", qPrintable(words[1]), question, qPrintable(text));
    return done;
}

DriveResult print(QObject& object, const Words& words)
{
    return answer(words, qPrintable(words[2]), shownText(object, words[2]));
}

DriveResult count(QObject& object, const Words& words)
{
    int number = 0;
    for (const QObject* child : object.findChildren<QObject*>()) {
        number += child->inherits(qPrintable(words[2])) ? 1 : 0;
    }
    return answer(words, "count", QString::number(number));
}

DriveResult points(QCustomPlot& plot, const Words& words)
{
    const QCPGraph* graph = plot.graph(words[2].toInt());
    QStringList listed;
    for (int i = 0; graph && i < graph->dataCount(); ++i) {
        listed.append(QStringLiteral("%1 %2")
                          .arg(graph->dataMainKey(i), 0, 'g', 17)
                          .arg(graph->dataMainValue(i), 0, 'g', 17));
    }
    return graph ? answer(words, "points", listed.join(';')) : notYet;
}

struct Command
{
    const char* name;
    int arguments;     // at least
    const char* usage; // of the arguments
    DriveResult (*run)(const Words&);
};

constexpr Command commands[] = {
    {"click", 1, "OBJECT [X Y]", on<QWidget, click<Qt::LeftButton>>},
    {"rightclick", 1, "OBJECT [X Y]", on<QWidget, click<Qt::RightButton>>},
    {"key", 1, "SEQUENCE [OBJECT]", key},
    {"type", 2, "OBJECT TEXT", on<QWidget, type>},
    {"set", 3, "OBJECT PROPERTY VALUE", on<QObject, set>},
    {"wait", 3, "OBJECT PROPERTY REGEX (a status bar's text is \"message\")", on<QObject, wait>},
    {"print", 2, "OBJECT PROPERTY", on<QObject, print>},
    {"count", 2, "OBJECT CLASS (how many of the class it owns)", on<QObject, count>},
    {"points", 2, "PLOT GRAPH (keys and values)", on<QCustomPlot, points>},
    {"cell", 4, "TABLE ROW COLUMN TEXT", on<QAbstractItemView, cell>},
    {"select", 5, "TABLE ROW COLUMN ROW COLUMN", on<QAbstractItemView, select>},
    {"trigger", 1, "ACTION", on<QAction, trigger>},
    {"menu", 2, "MENU INDEX", on<QMenu, menu>},
    {"file", 1, "PATH (answers the open file dialog)", chooseFile},
    {"grab", 2, "WIDGET PICTURE.png [WIDTH HEIGHT] (of its top left part)", on<QWidget, grab>},
    {"resize", 3, "WIDGET WIDTH HEIGHT [X Y]", on<QWidget, resize>},
    {"close", 1, "WINDOW", on<QWidget, close>},
};

} // namespace

DriveResult runDriveCommand(const QStringList& words)
{
    QString known = QStringLiteral("no such command; there are: pause MS");
    for (const Command& command : commands) {
        const QString usage = QStringLiteral("%1 %2").arg(command.name, command.usage);
        if (words[0] == QLatin1String(command.name)) {
            return words.size() > command.arguments ? command.run(words) : wrong(usage);
        }
        known += QStringLiteral(", ") + usage;
    }
    return wrong(known);
}
