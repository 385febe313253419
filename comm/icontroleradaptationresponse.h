// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Answers of the adaptation run.
class IControlerAdaptationResponse
{
public:
    enum class AdaptationStatus { Idle = 0, Busy = 1 };

    virtual void adaptationStart() = 0;
    virtual void adaptationStatus(AdaptationStatus status) = 0;
    virtual ~IControlerAdaptationResponse() = default;
};
