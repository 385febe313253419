// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/faultitemdata.h"

#include <vector>

// Answers of the fault service.
class IFaultServiceCommandsResponse
{
public:
    virtual ~IFaultServiceCommandsResponse() = default;
    virtual void faultGetFaultCountResp(int first, int second) = 0;
    virtual void faultGetFaultsResp(std::vector<FaultItemData>&& items) = 0;
    virtual void faultCleanFaultsResp() = 0;
};
