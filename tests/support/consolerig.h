// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/dataloggerapp.h"
#include "support/testhome.h"

#include <QtTest>
#include <QtWidgets>
#include <functional>
#include <qcustomplot.h>

// A throw-away home with the settings of the console.
class ConsoleHome : public TestHome
{
public:
    QVariant stored(const QString& key) { return settings().value(key); }
    void store(const QString& key, const QVariant& value) { settings().setValue(key, value); }
    QStringList keys() { return settings().allKeys(); }

    QDir controllerFolder(const QString& serialNumber)
    {
        return QDir(documents().filePath("Corvane Motion Systems/" + serialNumber));
    }

private:
    static QSettings settings()
    {
        return QSettings(QStringLiteral("CorvaneMotionSystems"), QStringLiteral("DataLogger"));
    }
};

using Work = std::function<void()>;
inline const Work nothing = [] {};

// Answers the file dialog that the action opens, and does the rest as soon as the event loop runs
// again: while a long file is being read, before the action returns.
inline void withFile(const QString& path, const Work& action, const Work& meanwhile = nothing)
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QTimer::singleShot(0, [path, meanwhile] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        dialog->selectFile(path);
        QTimer::singleShot(0, meanwhile);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    action();
}

// Of an open window with this name the widget of this kind; null if there is none.
template <typename Widget>
Widget* inOpenWindow(const char* windowName)
{
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() == QLatin1String(windowName) && window->isVisible()) {
            return window->findChild<Widget*>();
        }
    }
    return nullptr;
}

// The real window, reached by object names as an operator's hands would.
class ConsoleRig
{
public:
    DataLoggerApp window;

    template <typename Widget>
    Widget* child(const char* name)
    {
        return window.findChild<Widget*>(QLatin1String(name));
    }

    void open(const QString& path, const Work& meanwhile = nothing)
    {
        withFile(
            path, [this] { child<QAction>("actionOpen_with_Timestamp")->trigger(); }, meanwhile);
    }

    void click(const char* button) { child<QAbstractButton>(button)->click(); }
    QString status() { return child<QStatusBar>("statusBar")->currentMessage(); }
    QString text(const char* button) { return child<QAbstractButton>(button)->text(); }
    int timers()
    {
        return window.findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly).size();
    }
    QCustomPlot* plot() { return window.findChild<QCustomPlot*>(); }

    // The box of a channel, 0 to 127, found by its place in the strip.
    QCheckBox* channelBox(int channel)
    {
        QLayoutItem* item =
            child<QGridLayout>("dataSeriesLayout")->itemAtPosition(channel % 32, channel / 32);
        return qobject_cast<QCheckBox*>(item->widget());
    }

    // "(<time>,<value>)..." of a curve.
    QString points(int graph)
    {
        QString text;
        const QCPGraph* curve = plot()->graph(graph);
        for (int i = 0; i < curve->dataCount(); ++i) {
            text +=
                QString::asprintf("(%.12g,%.12g)", curve->dataMainKey(i), curve->dataMainValue(i));
        }
        return text;
    }

    // The slider above the label with this number, 1 to 12.
    QSlider* slider(int number)
    {
        QLayoutItem* column = child<QHBoxLayout>("virtualInputLayout")->itemAt(number - 1);
        return qobject_cast<QSlider*>(column->layout()->itemAt(0)->widget());
    }
};
