// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>
#include <QTimer>
#include <memory>
#include <vector>

namespace simulator {

class MockedPort;
using MockedPorts = std::vector<std::unique_ptr<MockedPort>>;

// Lines from standard input, a file, a named pipe or the command line, one after the other. A line
// "wait MS" holds back those behind it.
class CommandInput : public QObject
{
    Q_OBJECT

public:
    // Takes over the descriptor; lines from there come behind the first ones.
    explicit CommandInput(int descriptor, const QByteArray& first = {});
    ~CommandInput() override;

    // For CommandInput's constructor; negative if the path cannot be read. A named pipe is held
    // open, so that its writers may come and go.
    static int openPath(const QString& path);

signals:
    void line(const QString& text);

private:
    void read();
    void work();

    int input;
    QSocketNotifier notifier;
    QTimer pause;
    QByteArray pending;
};

// Does what a line says, to change virtual controllers while they run. A line that begins with a
// number means that controller alone, counted from 1; other lines mean all of them. The result is
// for the operator: what is wrong with the line, or what it asked to see; mostly empty. The
// commands stats and quit are up to the caller.
QString executeCommand(const MockedPorts& ports, const QString& line);

// All commands, for an operator.
QString commandsHelp();

} // namespace simulator
