// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <array>

namespace simulator {

// The controller's regulators, numbered from 0, with five parameters each.
class PidTuner
{
public:
    static constexpr unsigned int regulatorCount = 4;

    PidTuner();

    // 0 if the regulator exists, 1 otherwise.
    unsigned int set(const xcu::PidTunerSetPidReq& request);
    unsigned int reset(unsigned int id);
    // All parameters are 0 for a regulator that does not exist.
    void fill(unsigned int id, xcu::PidTunerGetPidResp& response) const;

private:
    using Parameters = std::array<int, 5>;

    std::array<Parameters, regulatorCount> regulators;
};

} // namespace simulator
