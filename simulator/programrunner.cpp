// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/programrunner.h"

#include <csignal>

namespace simulator {

ProgramRunner::ProgramRunner(QObject* parent)
    : QObject(parent)
{
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    connect(
        &process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
        [this](int code, QProcess::ExitStatus status) {
            emit ended(status == QProcess::NormalExit ? code : signalBase + code);
        });
    connect(&process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            emit failedToStart(process.program() + ": " + process.errorString());
            emit ended(cannotRun);
        }
    });
}

void ProgramRunner::start(
    const QStringList& program, const QProcessEnvironment& environment, bool inheritInput)
{
    process.setProcessEnvironment(environment);
    if (inheritInput) {
        process.setInputChannelMode(QProcess::ForwardedInputChannel);
    } else {
        process.setStandardInputFile(QProcess::nullDevice());
    }
    process.start(program.first(), program.mid(1));
}

void ProgramRunner::sendSignal(int number)
{
    if (isRunning()) {
        ::kill(static_cast<pid_t>(process.processId()), number);
    }
}

} // namespace simulator
