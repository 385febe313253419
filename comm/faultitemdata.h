// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

// One entry of the controller's fault list. The component stands before the fault number here and
// behind it on the wire.
struct FaultItemData
{
    std::uint8_t type;         // 1 is a warning, any other value a fault
    std::uint8_t mode;         // 1 intermittent, 2 continuous, 3 run fault, 4 inactive
    std::uint16_t category;    // first key of the fault dictionary
    std::uint16_t componentId; // the component that reported the fault
    std::uint16_t faultId;     // number within the category, second key of the dictionary
};
