// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

// Answers of the configuration store.
class IConfigCommandsResponse
{
public:
    virtual ~IConfigCommandsResponse() = default;
    virtual void writeConfiguration(unsigned int result, unsigned int configId) = 0;
    // data is the whole block, length prefix included, and valid during the call only.
    virtual void readConfiguration(
        unsigned int result, unsigned int configId, const std::string& data) = 0;
    virtual void eraseConfiguration(unsigned int result, unsigned int configId) = 0;
    virtual void writeCalibration(unsigned int result, unsigned int configId) = 0;
};
