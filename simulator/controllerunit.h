// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/mockedport.h"
#include "simulator/virtualcontroller.h"

#include <utility>

namespace simulator {

// A controller with its port.
struct ControllerUnit
{
    ControllerUnit(Testbed& testbed, ControllerOptions options)
        : controller(std::move(options))
        , port(testbed, controller)
    {}

    VirtualController controller;
    MockedPort port;
};

} // namespace simulator
