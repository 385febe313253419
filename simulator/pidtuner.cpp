// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/pidtuner.h"

namespace simulator {

namespace {

constexpr std::array<int, 5> factorySettings = {1200, 80, 15, -1000, 1000};

constexpr unsigned int done = 0;
constexpr unsigned int noSuchRegulator = 1;

} // namespace

PidTuner::PidTuner()
{
    regulators.fill(factorySettings);
}

unsigned int PidTuner::set(const xcu::PidTunerSetPidReq& request)
{
    if (request.pid_id() >= regulatorCount) {
        return noSuchRegulator;
    }
    regulators[request.pid_id()] = {
        request.param_1(), request.param_2(), request.param_3(), request.param_4(),
        request.param_5()};
    return done;
}

unsigned int PidTuner::reset(unsigned int id)
{
    if (id >= regulatorCount) {
        return noSuchRegulator;
    }
    regulators[id] = factorySettings;
    return done;
}

void PidTuner::fill(unsigned int id, xcu::PidTunerGetPidResp& response) const
{
    response.set_pid_id(id);
    if (id >= regulatorCount) {
        return;
    }
    const Parameters& parameters = regulators[id];
    response.set_param_1(parameters[0]);
    response.set_param_2(parameters[1]);
    response.set_param_3(parameters[2]);
    response.set_param_4(parameters[3]);
    response.set_param_5(parameters[4]);
}

} // namespace simulator
