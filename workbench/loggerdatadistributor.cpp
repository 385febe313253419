// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/loggerdatadistributor.h"

#include "comm/commandssender.h"
#include "platform/diagnostics.h"
#include "workbench/idatapresenter.h"

#include <algorithm>

namespace {

constexpr unsigned long pollPause = 100; // ms
constexpr std::size_t mostValues = 1024; // of a record; more than any controller has channels

} // namespace

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
            QThread::msleep(pollPause);
        }
        --polling;
    });
    workers.emplace_back(workerThread);
    workerThread->start(QThread::InheritPriority);
}

void LoggerDataDistributor::loggerDataReceived(
    unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values)
{
    if (values.size() > mostValues) {
        platform::printLine(
            "Refused record of ", values.size(), " values"); // each would make a row
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
