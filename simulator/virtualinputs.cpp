// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/virtualinputs.h"

namespace simulator {

void VirtualInputs::set(int index, int value)
{
    if (index >= 0 && index < inputCount) {
        values[index] = value;
    }
}

int VirtualInputs::value(int index) const
{
    return index >= 0 && index < inputCount ? values[index] : 0;
}

} // namespace simulator
