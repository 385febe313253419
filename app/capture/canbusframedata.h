// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

// The newest frame of one CAN identifier, with the moments at which its bytes changed. Times are
// controller time in seconds.
struct CanbusFrameData
{
    static constexpr int Capacity = 64; // bytes of a CAN FD frame

    std::array<unsigned char, Capacity> payload; // behind dlc: what a longer frame left
    std::array<double, Capacity> changedAt;      // the byte last took a new value
    double lastSeen;
    int busNumber;
    int dlc; // bytes of the newest frame as it came, not a DLC code; may exceed Capacity
    bool isExtended;
    bool isFd;
    bool isBitrateSwitch;
};
