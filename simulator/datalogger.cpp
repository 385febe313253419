// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/datalogger.h"

#include "simulator/virtualinputs.h"

#include <algorithm>

namespace simulator {

Datalogger::Datalogger(int channels, quint32 seed, const VirtualInputs& inputs)
    : waveforms(seed)
    , virtualInputs(inputs)
    , channelCount(static_cast<unsigned int>(std::clamp(channels, 0, logChannelCount)))
{}

void Datalogger::start(const xcu::DataloggerStart& request)
{
    session = request;
    running = true;
}

void Datalogger::stop()
{
    running = false;
}

void Datalogger::powerUp()
{
    session.Clear();
    running = false;
    sampleNumber = 0;
}

void Datalogger::nextRecord(quint32 timeMs, xcu::DataloggerDataResp& record)
{
    record.clear_values();
    for (const unsigned int channel : session.channels()) {
        if (channel < channelCount) {
            record.add_values(value(channel, timeMs));
        }
    }
    record.set_sample_number(sampleNumber++);
    record.set_timestamp(timeMs);
}

int Datalogger::value(unsigned int channel, quint32 timeMs) const
{
    const int input = static_cast<int>(channel) - VirtualInputs::firstChannel;
    if (input >= 0 && input < VirtualInputs::inputCount) {
        return virtualInputs.value(input);
    }
    return waveforms.value(channel, timeMs);
}

} // namespace simulator
