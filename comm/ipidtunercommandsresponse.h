// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Answers of the PID tuner.
class IPidTunerCommandsResponse
{
public:
    virtual ~IPidTunerCommandsResponse() = default;
    virtual void pidTunerStart(unsigned int value) = 0;
    virtual void pidTunerSetPid(unsigned int value) = 0;
    virtual void pidTunerGetPid(
        unsigned int pidId, int param1, int param2, int param3, int param4, int param5) = 0;
    virtual void pidTunerReset(unsigned int value) = 0;
};
