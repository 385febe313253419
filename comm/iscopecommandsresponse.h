// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

// Answers of the scope.
class IScopeCommandsResponse
{
public:
    virtual ~IScopeCommandsResponse() = default;
    virtual void scopeDataReceived(
        int firstValue, int secondValue, int thirdValue, std::vector<int>&& samples) = 0;
};
