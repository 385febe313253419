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
    struct Sender
    {
        xcu::CandumpFrame frame; // the last one of this identifier
        quint32 sent = 0;
    };

    std::vector<Sender> senders;
    std::size_t position = 0;
};

} // namespace simulator
