// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/waveforms.h"

#include <QtGlobal>

namespace simulator {

class VirtualInputs;

// The controller's data logger: which channels a session asked for, and the records of them.
class Datalogger
{
public:
    // Both references have to outlive the logger.
    Datalogger(int channels, quint32 seed, const VirtualInputs& inputs);

    void start(const xcu::DataloggerStart& request);
    void stop();
    void powerUp();

    bool isRunning() const { return running; }
    bool isPassive() const { return running && session.passive() != 0; }
    const xcu::DataloggerStart& lastStart() const { return session; }

    // The next record of the session: the requested channels in the requested order, as far as they
    // exist. Sample numbers run from power-up on, over all sessions.
    void nextRecord(quint32 timeMs, xcu::DataloggerDataResp& record);
    int value(unsigned int channel, quint32 timeMs) const;

private:
    Waveforms waveforms;
    const VirtualInputs& virtualInputs;
    unsigned int channelCount;
    xcu::DataloggerStart session;
    bool running = false;
    quint32 sampleNumber = 0;
};

} // namespace simulator
