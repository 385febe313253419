// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/portrig.h"

#include <utility>

PortRig::PortRig(Lives where)
    : PortRig(ControllerOptions(), where)
{}

PortRig::PortRig(ControllerOptions options, Lives where)
    : PortRig(std::vector<ControllerOptions>{std::move(options)}, where)
{}

PortRig::PortRig(std::vector<ControllerOptions> controllers, Lives where)
    : anchor(std::make_unique<QObject>())
{
    if (where == Lives::InOwnThread) {
        anchor->moveToThread(&thread);
        thread.start();
    }
    inRigThread([&] {
        testbed = std::make_unique<Testbed>();
        for (ControllerOptions& options : controllers) {
            units.push_back(std::make_unique<ControllerUnit>(*testbed, std::move(options)));
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
    const bool isElsewhere = anchor->thread() != QThread::currentThread();
    QMetaObject::invokeMethod(
        anchor.get(), task, isElsewhere ? Qt::BlockingQueuedConnection : Qt::DirectConnection);
}

void PortRig::plug(int index)
{
    inRigThread([=] { port(index).plug(); });
}

void PortRig::unplug(int index)
{
    inRigThread([=] { port(index).unplug(); });
}

void PortRig::changeGuise(Guise guise, int index)
{
    inRigThread([=] { port(index).changeGuise(guise); });
}

QString PortRig::portName(int index)
{
    return port(index).name();
}

QString PortRig::serialNumber(int index)
{
    return controller(index).options().serialNumber;
}

int PortRig::count(xcu::Command::ReqCase member, int index)
{
    return run([=](VirtualController& unit) { return unit.count(member); }, index);
}
