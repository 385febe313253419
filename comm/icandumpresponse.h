// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

// The capture of the controller's CAN buses.
class ICandumpResponse
{
public:
    virtual void candumpStart() = 0;
    virtual void candumpStop() = 0;
    // One frame. timestampMs is controller time; canId carries no flag bits; frameData holds the
    // raw payload bytes and is valid during the call only.
    virtual void candump(
        int busNumber, int timestampMs, int canId, bool isExtended, bool isFd, bool isBitrateSwitch,
        const std::string& frameData) = 0;

protected:
    ~ICandumpResponse() = default;
};
