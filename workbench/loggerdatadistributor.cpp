// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/loggerdatadistributor.h"

#include "comm/commandssender.h"
#include "platform/diagnostics.h"
#include "workbench/idatapresenter.h"

#include <algorithm>

LoggerDataDistributor::~LoggerDataDistributor()
{
    stop();
}

void LoggerDataDistributor::loggerStarted()
{
    running = true;
    workerThread = QThread::create([this] {
        ++polling;
        while (running) {
            commandsSender.sendLoggerDataRequest();
            QThread::msleep(100);
        }
        --polling;
    });
    workers.emplace_back(workerThread);
    workerThread->start(QThread::InheritPriority);
}

void LoggerDataDistributor::loggerDataReceived(
    unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values)
{
    constexpr std::size_t most = 1024; // more than any controller has channels
    if (values.size() > most) {        // each would make a row
        platform::printLine("Refused record of ", values.size(), " values");
        return;
    }
    const std::list<IDataPresenter*> registered = sinks;
    for (IDataPresenter* sink : registered) {
        if (std::find(sinks.begin(), sinks.end(), sink) != sinks.end()) { // not removed meanwhile
            sink->update(sampleNumber, timestamp, values);
        }
    }
}

void LoggerDataDistributor::stop()
{
    running = false;
    for (const std::unique_ptr<QThread>& worker : workers) {
        worker->wait();
    }
    Q_ASSERT(polling == 0);
    workers.clear();
    workerThread = nullptr;
}
