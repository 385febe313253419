// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QProcess>

namespace simulator {

// The program that virtual-xcu runs, with the standard channels of virtual-xcu itself.
class ProgramRunner : public QObject
{
    Q_OBJECT

public:
    // Exit codes as a shell gives them.
    static constexpr int cannotRun = 127;
    static constexpr int signalBase = 128; // plus the number of the signal that ended the program

    explicit ProgramRunner(QObject* parent = nullptr);

    // Standard input is inherited as well, or empty.
    void start(
        const QStringList& program, const QProcessEnvironment& environment, bool inheritInput);
    bool isRunning() const { return process.state() != QProcess::NotRunning; }
    void sendSignal(int number);

signals:
    void ended(int exitCode);
    void failedToStart(const QString& why); // ahead of ended

private:
    QProcess process;
};

} // namespace simulator
