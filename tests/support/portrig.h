// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/mockedport.h"
#include "simulator/testbed.h"

// A virtual controller on a mocked USB serial port, for tests that run under the preload (PORT in
// xcu_test). It lives from the caller's event loop and is not plugged in at first. A process has
// one rig at a time; it may add more units to its testbed.
struct PortRig
{
    explicit PortRig(const simulator::ControllerOptions& options = {})
        : port(testbed, options)
    {}

    int count(xcu::Command::ReqCase member) const { return controller.count(member); }

    simulator::Testbed testbed;
    simulator::MockedPort port;
    simulator::VirtualController& controller = port.controller();
};
