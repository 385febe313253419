// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/dataloggerapp.h"
#include "support/testhome.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QFile>
#include <QSettings>
#include <QStatusBar>
#include <QtTest>
#include <qcustomplot.h>

// A throw-away home whose settings the console reads. Qt looks the place of settings up once in a
// process, so it is told of each new home.
class ConsoleHome : public TestHome
{
public:
    ConsoleHome()
    {
        QSettings::setPath(
            QSettings::NativeFormat, QSettings::UserScope, root().filePath(".config"));
    }

    QVariant stored(const QString& key) { return open().value(key); }
    void store(const QString& key, const QVariant& value) { open().setValue(key, value); }
    QStringList keys() { return open().allKeys(); }

    // The files of one kind, such as "*.log", that the console wrote for a controller; oldest
    // first.
    QStringList files(const QString& serialNumber, const QString& folder, const QString& pattern)
    {
        const QDir written(documents().filePath(
            QStringLiteral("Corvane Motion Systems/%1/%2").arg(serialNumber, folder)));
        QStringList paths;
        for (const QString& name : written.entryList({pattern}, QDir::Files, QDir::Name)) {
            paths.append(written.filePath(name));
        }
        return paths;
    }

private:
    static QSettings open()
    {
        return QSettings(QStringLiteral("CorvaneMotionSystems"), QStringLiteral("DataLogger"));
    }
};

inline QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

// The real window, reached by object names as an operator's hands would.
class ConsoleRig
{
public:
    DataLoggerApp window;

    template <typename Widget>
    Widget* child(const char* name)
    {
        auto* found = window.findChild<Widget*>(QLatin1String(name));
        if (!found) {
            qFatal("The console has no %s", name);
        }
        return found;
    }

    void click(const char* button) { child<QAbstractButton>(button)->click(); }
    QString status() { return child<QStatusBar>("statusBar")->currentMessage(); }
    QString text(const char* button) { return child<QAbstractButton>(button)->text(); }
    QCustomPlot* plot() { return window.findChild<QCustomPlot*>(); }

    // The box of a channel, 0 to 127, found by its place in the strip.
    QCheckBox* channelBox(int channel)
    {
        QLayoutItem* item =
            child<QGridLayout>("dataSeriesLayout")->itemAtPosition(channel % 32, channel / 32);
        return qobject_cast<QCheckBox*>(item->widget());
    }

    // The slider above the label with this number, 1 to 12.
    QSlider* slider(int number)
    {
        QLayoutItem* column = child<QHBoxLayout>("virtualInputLayout")->itemAt(number - 1);
        return qobject_cast<QSlider*>(column->layout()->itemAt(0)->widget());
    }
};
