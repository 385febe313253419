// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

namespace simulator {

// The inputs that the PC sets instead of a sensor: 12, counted from 0, 0 after power-up. The log
// shows input i in channel firstChannel + i.
class VirtualInputs
{
public:
    static constexpr int inputCount = 12;
    static constexpr int firstChannel = 20;

    // An index that does not exist is ignored.
    void set(int index, int value);
    int value(int index) const;
    void clear() { values.fill(0); }

private:
    std::array<int, inputCount> values = {};
};

} // namespace simulator
