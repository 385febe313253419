// SPDX-License-Identifier: GPL-3.0-or-later
#include "drivecommands.h"

#include "driveobjects.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenu>
#include <QRegularExpression>
#include <QTest>
#include <cstdio>
#include <functional>
#include <map>
#include <qcustomplot.h>

namespace {

using Words = QStringList;

DriveResult notYet(int extraPatienceMs = 0)
{
    return {false, QString(), extraPatienceMs};
}

QPoint pointIn(const QWidget* widget, const Words& words, int index)
{
    if (words.size() < index + 2) {
        return widget->rect().center();
    }
    return {words[index].toInt(), words[index + 1].toInt()};
}

// Keys go to the active window, which nobody chooses where there is no window manager.
void activate(const QWidget* widget)
{
    if (widget->window()->windowType() != Qt::Popup) {
        QApplication::setActiveWindow(widget->window());
    }
}

// Mouse events go to what lies under the point, as from a real pointer.
DriveResult click(const Words& words, Qt::MouseButton button)
{
    QWidget* widget = findWidget(words[1]);
    if (widget == nullptr || !widget->isVisible()) {
        return notYet();
    }
    activate(widget);
    const QPoint point = pointIn(widget, words, 2);
    QWidget* target = widget->childAt(point);
    target = target == nullptr ? widget : target;
    QTest::mouseClick(target, button, Qt::NoModifier, target->mapFrom(widget, point));
    return {};
}

DriveResult leftClick(const Words& words)
{
    return click(words, Qt::LeftButton);
}

DriveResult rightClick(const Words& words)
{
    return click(words, Qt::RightButton);
}

// As typed: without an OBJECT, what has the focus gets the key.
DriveResult key(const Words& words)
{
    QWidget* widget = words.size() > 2 ? findWidget(words[2]) : QApplication::focusWidget();
    if (widget == nullptr) {
        return notYet();
    }
    const QKeySequence sequence(words[1]);
    if (sequence.isEmpty()) {
        return {true, QStringLiteral("no such key"), 0};
    }
    activate(widget); // a menu that was entered leaves no window active
    QTest::keySequence(widget, sequence);
    return {};
}

DriveResult type(const Words& words)
{
    QWidget* widget = findWidget(words[1]);
    if (widget == nullptr) {
        return notYet();
    }
    widget->setFocus();
    QTest::keyClicks(widget, words[2]);
    return {};
}

DriveResult set(const Words& words)
{
    QObject* object = findObject(words[1]);
    if (object == nullptr) {
        return notYet();
    }
    if (!object->setProperty(qPrintable(words[2]), words[3])) {
        return {true, QStringLiteral("no such property"), 0};
    }
    return {};
}

DriveResult wait(const Words& words)
{
    QObject* object = findObject(words[1]);
    const QRegularExpression pattern(words[3]);
    if (object == nullptr || !pattern.match(shownText(object, words[2])).hasMatch()) {
        return notYet();
    }
    return {};
}

DriveResult cell(const Words& words)
{
    auto* view = qobject_cast<QAbstractItemView*>(findObject(words[1]));
    if (view == nullptr) {
        return notYet();
    }
    const QModelIndex index = view->model()->index(words[2].toInt(), words[3].toInt());
    if (!index.isValid()) {
        return notYet();
    }
    view->model()->setData(index, words[4]);
    return {};
}

DriveResult selectCells(const Words& words)
{
    auto* view = qobject_cast<QAbstractItemView*>(findObject(words[1]));
    if (view == nullptr) {
        return notYet();
    }
    const QModelIndex first = view->model()->index(words[2].toInt(), words[3].toInt());
    const QModelIndex last = view->model()->index(words[4].toInt(), words[5].toInt());
    if (!first.isValid() || !last.isValid()) {
        return notYet();
    }
    view->setFocus();
    view->selectionModel()->select(
        QItemSelection(first, last), QItemSelectionModel::ClearAndSelect);
    return {};
}

DriveResult trigger(const Words& words)
{
    auto* action = qobject_cast<QAction*>(findObject(words[1]));
    if (action == nullptr) {
        return notYet();
    }
    action->trigger();
    return {};
}

DriveResult call(const Words& words)
{
    QObject* object = findObject(words[1]);
    if (object == nullptr) {
        return notYet();
    }
    if (!QMetaObject::invokeMethod(object, qPrintable(words[2]))) {
        return {true, QStringLiteral("no such slot"), 0};
    }
    return {};
}

// Opens the menu as a click does, so that menus filled on demand fill themselves.
DriveResult menu(const Words& words)
{
    auto* menu = qobject_cast<QMenu*>(findObject(words[1]));
    if (menu == nullptr) {
        return notYet();
    }
    menu->popup(menu->parentWidget()->mapToGlobal(QPoint()));
    QAction* action = menu->actions().value(words[2].toInt());
    if (action == nullptr) {
        menu->close();
        return notYet();
    }
    menu->setActiveAction(action);
    QTest::keyClick(menu, Qt::Key_Return);
    return {};
}

DriveResult chooseFile(const Words& words)
{
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    auto* name = dialog == nullptr ? nullptr : dialog->findChild<QLineEdit*>("fileNameEdit");
    if (name == nullptr) {
        return notYet();
    }
    // Not selectFile(): that leaves alone what a person seems to be typing.
    name->setText(QDir::current().absoluteFilePath(words[1]));
    QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
    return {};
}

DriveResult grab(const Words& words)
{
    QWidget* widget = findWidget(words[1]);
    if (widget == nullptr || !widget->isVisible()) {
        return notYet();
    }
    QPixmap picture = widget->grab();
    if (words.size() > 4) {
        picture = picture.copy(0, 0, words[3].toInt(), words[4].toInt());
    }
    if (!picture.save(words[2])) {
        return {true, QStringLiteral("the picture cannot be written"), 0};
    }
    return {};
}

DriveResult resize(const Words& words)
{
    QWidget* widget = findWidget(words[1]);
    if (widget == nullptr) {
        return notYet();
    }
    // A widget in a workspace has the size and place that its frame there gives it.
    auto* frame = qobject_cast<QMdiSubWindow*>(widget->parentWidget());
    widget = frame == nullptr ? widget : frame;
    widget->resize(words[2].toInt(), words[3].toInt());
    if (words.size() > 5) {
        widget->move(words[4].toInt(), words[5].toInt());
    }
    return {};
}

DriveResult close(const Words& words)
{
    QWidget* widget = findWidget(words[1]);
    if (widget == nullptr) {
        return notYet();
    }
    widget->close();
    return {};
}

DriveResult copy(const Words& words)
{
    QApplication::clipboard()->setText(QString(words[1]).replace("\\t", "\t").replace("\\n", "\n"));
    return {};
}

// The commands that change nothing. Their answers go to standard error, each line with the object
// and the question in front: "faultStatus.text: Faults: 3/0".

void answer(const Words& words, const char* question, const QString& text)
{
    std::fprintf(stderr, "%s.%s: %s\n", qPrintable(words[1]), question, qPrintable(text));
}

void answerRows(const Words& words, const QAbstractItemModel& model)
{
    for (int row = 0; row < model.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < model.columnCount(); ++column) {
            cells.append(model.index(row, column).data().toString());
        }
        answer(words, "texts", cells.join('\t'));
    }
}

DriveResult print(const Words& words)
{
    QObject* object = findObject(words[1]);
    if (object != nullptr) {
        answer(words, qPrintable(words[2]), shownText(object, words[2]));
    }
    return object == nullptr ? notYet() : DriveResult();
}

DriveResult texts(const Words& words)
{
    const QObject* object = findObject(words[1]);
    if (object == nullptr) {
        return notYet();
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

DriveResult count(const Words& words)
{
    const QObject* object = findObject(words[1]);
    int number = 0;
    for (const QObject* child :
         object == nullptr ? QObjectList() : object->findChildren<QObject*>()) {
        number += child->inherits(qPrintable(words[2])) ? 1 : 0;
    }
    answer(words, "count", QString::number(number));
    return object == nullptr ? notYet() : DriveResult();
}

DriveResult points(const Words& words)
{
    const auto* plot = qobject_cast<const QCustomPlot*>(findObject(words[1]));
    const QCPGraph* graph = plot == nullptr ? nullptr : plot->graph(words[2].toInt());
    if (graph == nullptr) {
        return notYet();
    }
    QStringList listed;
    for (int i = 0; i < graph->dataCount(); ++i) {
        listed.append(QStringLiteral("%1 %2")
                          .arg(graph->dataMainKey(i), 0, 'g', 17)
                          .arg(graph->dataMainValue(i), 0, 'g', 17));
    }
    answer(words, "points", listed.join(';'));
    return {};
}

struct Command
{
    int arguments; // at least
    const char* usage;
    std::function<DriveResult(const Words&)> run;
};

const std::map<QString, Command>& commands()
{
    static const std::map<QString, Command> table = {
        {"click", {1, "click OBJECT [X Y]", leftClick}},
        {"rightclick", {1, "rightclick OBJECT [X Y]", rightClick}},
        {"key", {1, "key SEQUENCE [OBJECT]", key}},
        {"type", {2, "type OBJECT TEXT", type}},
        {"set", {3, "set OBJECT PROPERTY VALUE", set}},
        {"wait", {3, "wait OBJECT PROPERTY REGEX (a status bar's text is \"message\")", wait}},
        {"print", {2, "print OBJECT PROPERTY", print}},
        {"texts", {1, "texts OBJECT (a table's cells, or the texts of what lies on it)", texts}},
        {"count", {2, "count OBJECT CLASS (how many of the class it owns)", count}},
        {"points", {2, "points PLOT GRAPH (keys and values)", points}},
        {"cell", {4, "cell TABLE ROW COLUMN TEXT", cell}},
        {"select", {5, "select TABLE ROW COLUMN ROW COLUMN", selectCells}},
        {"trigger", {1, "trigger ACTION", trigger}},
        {"call", {2, "call OBJECT SLOT", call}},
        {"menu", {2, "menu MENU INDEX", menu}},
        {"file", {1, "file PATH (answers the open file dialog)", chooseFile}},
        {"clipboard", {1, "clipboard TEXT (\\t and \\n stand for tab and line end)", copy}},
        {"grab", {2, "grab WIDGET PICTURE.png [WIDTH HEIGHT] (of its top left part)", grab}},
        {"resize", {3, "resize WIDGET WIDTH HEIGHT [X Y]", resize}},
        {"close", {1, "close WINDOW", close}},
    };
    return table;
}

} // namespace

DriveResult runDriveCommand(const QStringList& words, qint64 elapsedMs)
{
    if (words[0] == QLatin1String("pause") && words.size() == 2) {
        const int length = words[1].toInt();
        return elapsedMs >= length ? DriveResult() : notYet(length);
    }
    const auto command = commands().find(words[0]);
    if (command == commands().end()) {
        QString known = QStringLiteral("no such command; there are: pause MS, silence");
        for (const auto& entry : commands()) {
            known += QStringLiteral(", ") + QLatin1String(entry.second.usage);
        }
        return {true, known, 0};
    }
    if (words.size() <= command->second.arguments) {
        return {true, QLatin1String(command->second.usage), 0};
    }
    return command->second.run(words);
}
