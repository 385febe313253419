// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/portrig.h"

#include <QCoreApplication>
#include <QEvent>
#include <condition_variable>
#include <mutex>
#include <utility>

// Runs tasks in the rig's thread. The hand-over goes through a lock of the standard library and not
// through a queued call alone, whose order ThreadSanitizer cannot see inside Qt.
class PortRig::Worker : public QObject
{
public:
    void runAndWait(const std::function<void()>& task)
    {
        std::unique_lock lock(mutex);
        pending = &task;
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
        done.wait(lock, [this] { return pending == nullptr; });
    }

protected:
    void customEvent(QEvent*) override
    {
        const std::lock_guard lock(mutex);
        (*pending)();
        pending = nullptr;
        done.notify_one();
    }

private:
    std::mutex mutex;
    std::condition_variable done;
    const std::function<void()>* pending = nullptr;
};

PortRig::PortRig(std::vector<simulator::ControllerOptions> controllers, Lives where)
    : worker(std::make_unique<Worker>())
{
    if (where == Lives::InOwnThread) {
        worker->moveToThread(&thread);
        thread.start();
    }
    inRigThread([&] {
        testbed = std::make_unique<simulator::Testbed>();
        for (simulator::ControllerOptions& options : controllers) {
            units.push_back(
                std::make_unique<simulator::ControllerUnit>(*testbed, std::move(options)));
        }
    });
}

PortRig::~PortRig()
{
    inRigThread([this] {
        units.clear();
        testbed.reset();
    });
    thread.quit();
    thread.wait();
}

void PortRig::inRigThread(const std::function<void()>& task)
{
    if (worker->thread() == QThread::currentThread()) {
        task();
    } else {
        worker->runAndWait(task);
    }
}
