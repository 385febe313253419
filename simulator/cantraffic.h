// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <QtGlobal>
#include <vector>

namespace simulator {

// The traffic on the controller's CAN buses: an endless, repeatable sequence of frames. Identifiers
// are 11 and 29 bits long, frames classic and FD, with and without bit rate switch; payloads hold
// counters and slowly changing bytes, some frames have none.
class CanTraffic
{
public:
    static constexpr int busCount = 4;           // numbered from 0
    static constexpr int mostIdentifiers = 1000; // half of what 11 bits can tell apart

    CanTraffic(int identifiers, quint32 seed);

    xcu::CandumpFrame next(quint32 timeMs);

private:
    std::vector<xcu::CandumpFrame> frames; // the last one of each identifier
    std::size_t sent = 0;                  // all together
};

} // namespace simulator
