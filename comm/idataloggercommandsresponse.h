// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

// Answers of the data logger.
class IDataLoggerCommandsResponse
{
public:
    virtual ~IDataLoggerCommandsResponse() = default;
    virtual void loggerStarted() = 0;
    // One record: running number, controller time in ms, and one raw value per requested channel,
    // in the order of the request.
    virtual void loggerDataReceived(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values) = 0;
    virtual void loggerStopped() = 0;
};
