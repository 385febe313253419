// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/faultmemory.h"

#include <algorithm>
#include <random>
#include <utility>

namespace simulator {

namespace {

constexpr quint32 faultType = 0;
constexpr quint32 warningType = 1;

bool isWarning(const xcu::FaultItem& fault)
{
    return fault.type() == warningType;
}

} // namespace

FaultMemory::FaultMemory(std::vector<xcu::FaultItem> initial)
    : faults(std::move(initial))
{}

void FaultMemory::fill(xcu::FaultGetFaultCountResp& response) const
{
    const auto warnings = std::count_if(faults.begin(), faults.end(), isWarning);
    response.set_first_count(static_cast<int>(faults.size() - warnings));
    response.set_second_count(static_cast<int>(warnings));
}

void FaultMemory::fill(xcu::FaultGetFaultsResp& response) const
{
    for (const xcu::FaultItem& fault : faults) {
        *response.add_faults() = fault;
    }
}

std::vector<xcu::FaultItem> plausibleFaults(int count, quint32 seed)
{
    std::mt19937 random(seed);
    std::vector<xcu::FaultItem> faults;
    for (int i = 0; i < count; ++i) {
        xcu::FaultItem fault;
        fault.set_type(random() % 3 == 0 ? warningType : faultType);
        fault.set_mode(1 + random() % 4);
        fault.set_category(1 + random() % 8);
        fault.set_fault_id(1 + random() % 40);
        fault.set_component_id(random() % 20);
        faults.push_back(fault);
    }
    return faults;
}

} // namespace simulator
