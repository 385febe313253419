// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/responseinterfaces.h"

#include <QThread>
#include <atomic>
#include <list>
#include <memory>
#include <vector>

class CommandsSender;
class IDataPresenter;

// Polls the controller for logger records and hands each one to every sink, in the order of their
// registration. Sinks are not owned; they register and are called on the GUI thread.
class LoggerDataDistributor : public IDataLoggerCommandsResponse
{
public:
    explicit LoggerDataDistributor(CommandsSender& sender) // must outlive the workers
        : commandsSender(sender)
    {}
    ~LoggerDataDistributor() override;

    // A sink added twice is called twice; removing it removes both. It must be removed before it
    // is destroyed. A sink that is being called may remove itself and others.
    void addSink(IDataPresenter* sink) { sinks.push_back(sink); }
    void removeSink(IDataPresenter* sink) { sinks.remove(sink); }

    // Starts a worker that asks for a record every 100 ms. Each further call adds one more.
    void loggerStarted() override;
    // A record of more than 1,024 values is refused with a line on standard output.
    void loggerDataReceived(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values) override;
    // Changes nothing: the workers poll on until stop.
    void loggerStopped() override {}

    // Ends all workers. Returns when they are gone, 100 ms later at most.
    void stop();

private:
    std::list<IDataPresenter*> sinks;
    CommandsSender& commandsSender;
    QThread* workerThread = nullptr; // of the latest start
    std::atomic<bool> running = false;
    // Workers in their loop. The thread sanitizer does not see QThread::wait; this count shows it
    // that the workers end before the sender does.
    std::atomic<int> polling = 0;
    std::vector<std::unique_ptr<QThread>> workers;
};
