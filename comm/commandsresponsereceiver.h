// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/responseinterfaces.h"

#include <string>

// Turns the payload of one frame into one call of one of nine interfaces, synchronously. The
// pointers are not owned; null means that nobody cares, and such responses are dropped.
class CommandsResponseReceiver
{
public:
    CommandsResponseReceiver(
        IBootloaderCommandsResponse* bootloader, IDataLoggerCommandsResponse* dataLogger,
        IConfigCommandsResponse* config, IPidTunerCommandsResponse* pidTuner,
        IMapTuningCommandsResponse* mapTuning, IControlerAdaptationResponse* adaptation,
        ICandumpResponse* candump, IFaultServiceCommandsResponse* faultService,
        IScopeCommandsResponse* scope)
        : bootloaderResponse(bootloader)
        , dataLoggerResponse(dataLogger)
        , configResponse(config)
        , pidTunerResponse(pidTuner)
        , mapTuningResponse(mapTuning)
        , adaptationResponse(adaptation)
        , candumpResponse(candump)
        , faultServiceResponse(faultService)
        , scopeResponse(scope)
    {}

    void setDataLoggerCommandsResponse(IDataLoggerCommandsResponse* response)
    {
        dataLoggerResponse = response;
    }

    // A payload that does not parse, or whose member nobody knows, is dropped without a word.
    void decodeResponse(const std::string& data);

private:
    IBootloaderCommandsResponse* bootloaderResponse;
    IDataLoggerCommandsResponse* dataLoggerResponse;
    IConfigCommandsResponse* configResponse;
    IPidTunerCommandsResponse* pidTunerResponse;
    IMapTuningCommandsResponse* mapTuningResponse;
    IControlerAdaptationResponse* adaptationResponse;
    ICandumpResponse* candumpResponse;
    IFaultServiceCommandsResponse* faultServiceResponse;
    IScopeCommandsResponse* scopeResponse;
};
