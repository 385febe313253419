// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <QtGlobal>
#include <vector>

namespace simulator {

// The controller's fault list. It survives a reset.
class FaultMemory
{
public:
    explicit FaultMemory(std::vector<xcu::FaultItem> initial);

    const std::vector<xcu::FaultItem>& list() const { return faults; }
    void add(const xcu::FaultItem& fault) { faults.push_back(fault); }
    void clear() { faults.clear(); }

    // The first count is that of the faults, the second that of the warnings.
    void fill(xcu::FaultGetFaultCountResp& response) const;
    void fill(xcu::FaultGetFaultsResp& response) const;

private:
    std::vector<xcu::FaultItem> faults;
};

// So many plausible faults, repeatable from the seed.
std::vector<xcu::FaultItem> plausibleFaults(int count, quint32 seed);

} // namespace simulator
