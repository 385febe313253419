// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/portrig.h"

#include <QThread>
#include <optional>

// A virtual controller in a thread of its own: it goes on while the programs' thread is busy, as a
// real one does. It is plugged in as soon as plug() is called.
class RigThread
{
public:
    explicit RigThread(const simulator::ControllerOptions& options)
    {
        worker.moveToThread(&thread);
        thread.start();
        invoke([&] { rig.emplace(options); });
    }
    ~RigThread()
    {
        invoke([this] { rig.reset(); });
        thread.quit();
        thread.wait();
    }
    RigThread(const RigThread&) = delete;
    RigThread& operator=(const RigThread&) = delete;

    // Runs task(VirtualController&) in the controller's thread and gives the number that it
    // returns.
    template <typename Task>
    quint64 run(Task task)
    {
        quint64 result = 0;
        invoke([&] { result = task(rig->controller); });
        return result;
    }
    void plug()
    {
        invoke([this] { rig->port.plug(); });
    }
    int count(xcu::Command::ReqCase member)
    {
        return int(run([=](auto& controller) { return quint64(controller.count(member)); }));
    }

private:
    template <typename Task>
    void invoke(Task task)
    {
        QMetaObject::invokeMethod(&worker, task, Qt::BlockingQueuedConnection);
    }

    QThread thread;
    QObject worker; // lives in the thread, as all that it makes
    std::optional<PortRig> rig;
};
