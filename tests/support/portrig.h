// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/mockedport.h"
#include "simulator/testbed.h"

#include <algorithm>
#include <vector>

// A virtual controller on a mocked USB serial port, for tests that run under the preload (PORT in
// xcu_test). It lives from the caller's event loop and is not plugged in at first. A process has
// one rig at a time; it may add more units to its testbed.
struct PortRig
{
    explicit PortRig(const simulator::ControllerOptions& options = {})
        : port(testbed, options)
    {
        QObject::connect(
            &controller, &simulator::VirtualController::received,
            [this](const xcu::Command& command) { received.push_back(command); });
    }

    int count(xcu::Command::ReqCase member) const
    {
        return int(std::count_if(received.begin(), received.end(), [=](const auto& command) {
            return command.req_case() == member;
        }));
    }

    std::vector<xcu::Command> received; // since the start, or since a test cleared it
    simulator::Testbed testbed;
    simulator::MockedPort port;
    simulator::VirtualController& controller = port.controller();
};
