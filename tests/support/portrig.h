// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/mockedport.h"
#include "simulator/testbed.h"

#include <memory>
#include <vector>

// Virtual controllers on mocked USB serial ports, for tests that run under the preload (PORT in
// xcu_test). They live from the caller's event loop. At first nothing is plugged in. A process has
// one rig at a time.
class PortRig
{
public:
    using Options = simulator::ControllerOptions;

    explicit PortRig(const Options& options = {})
        : PortRig(std::vector<Options>{options})
    {}
    explicit PortRig(const std::vector<Options>& controllers)
    {
        for (const Options& options : controllers) {
            units.push_back(std::make_unique<simulator::ControllerUnit>(testbed, options));
        }
    }

    simulator::VirtualController& controller(int index = 0) { return units.at(index)->controller; }
    simulator::MockedPort& port(int index = 0) { return units.at(index)->port; }

    void plug(int index = 0) { port(index).plug(); }
    void unplug(int index = 0) { port(index).unplug(); }
    void restartIn(simulator::Mode mode) { port().restartIn(mode); }
    QString serialNumber() { return controller().options().serialNumber; }
    int count(xcu::Command::ReqCase member, int index = 0)
    {
        return controller(index).count(member);
    }

private:
    simulator::Testbed testbed;
    std::vector<std::unique_ptr<simulator::ControllerUnit>> units;
};
