// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <vector>

namespace simulator {

struct ControllerUnit;

// Commands that change virtual controllers while they run, a line each. A line that begins with a
// number means that controller alone, counted from 1; other lines mean all of them.
class LineCommands : public QObject
{
    Q_OBJECT

public:
    // The units have to outlive the commands.
    explicit LineCommands(std::vector<ControllerUnit*> controllers, QObject* parent = nullptr);

    static QString helpText();

    // Does what a line says. The result is for the operator: what is wrong with the line, or what
    // it asked to see; mostly empty.
    QString execute(const QString& line);

signals:
    void statsWanted();
    void quit();

private:
    std::vector<ControllerUnit*> units;
};

} // namespace simulator
