// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/mockedport.h"
#include "simulator/testbed.h"

#include <QString>
#include <QThread>
#include <functional>
#include <future>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

// Virtual controllers on mocked USB serial ports for tests that run under the preload (PORT in
// xcu_test). At first nothing is plugged in. A process has one rig at a time.
//
// In the calling thread the rig lives from the caller's event loop. In a thread of its own it goes
// on while the caller blocks, as a real controller does; controller() and port() must then only be
// touched within run().
class PortRig
{
public:
    enum class Lives { InCallingThread, InOwnThread };

    explicit PortRig(Lives where = Lives::InCallingThread)
        : PortRig(simulator::ControllerOptions(), where)
    {}
    explicit PortRig(simulator::ControllerOptions options, Lives where = Lives::InCallingThread)
        : PortRig(std::vector<simulator::ControllerOptions>{std::move(options)}, where)
    {}
    explicit PortRig(
        std::vector<simulator::ControllerOptions> controllers,
        Lives where = Lives::InCallingThread);
    ~PortRig();
    PortRig(const PortRig&) = delete;
    PortRig& operator=(const PortRig&) = delete;

    simulator::VirtualController& controller(int index = 0) { return units.at(index)->controller; }
    simulator::MockedPort& port(int index = 0) { return units.at(index)->port; }

    // These may be called from the test's thread wherever the rig lives, and block until done.
    void plug(int index = 0)
    {
        inRigThread([=] { port(index).plug(); });
    }
    void unplug(int index = 0)
    {
        inRigThread([=] { port(index).unplug(); });
    }
    void restartIn(simulator::Mode mode)
    {
        inRigThread([=] { port().restartIn(mode); });
    }
    QString portName(int index = 0) { return port(index).name(); }
    QString serialNumber() { return controller().options().serialNumber; }

    // Runs task(VirtualController&) in the rig's thread and gives what it returns.
    template <typename Task>
    auto run(Task task, int index = 0)
    {
        using Result = std::invoke_result_t<Task, simulator::VirtualController&>;
        std::packaged_task<Result()> job([&] { return task(controller(index)); });
        inRigThread([&] { job(); });
        return job.get_future().get();
    }
    int count(xcu::Command::ReqCase member, int index = 0)
    {
        return run([=](simulator::VirtualController& unit) { return unit.count(member); }, index);
    }

private:
    class Worker;

    void inRigThread(const std::function<void()>& task);

    QThread thread;
    std::unique_ptr<Worker> worker; // lives in the rig's thread
    std::unique_ptr<simulator::Testbed> testbed;
    std::vector<std::unique_ptr<simulator::ControllerUnit>> units;
};
