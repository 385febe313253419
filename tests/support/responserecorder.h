// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/commandsresponsereceiver.h"
#include "comm/ibootloadercommandsresponse.h"
#include "comm/icandumpresponse.h"
#include "comm/iconfigcommandsresponse.h"
#include "comm/icontroleradaptationresponse.h"
#include "comm/idataloggercommandsresponse.h"
#include "comm/ifaultservicecommandsresponse.h"
#include "comm/imaptuningcommandsresponse.h"
#include "comm/ipidtunercommandsresponse.h"
#include "comm/iscopecommandsresponse.h"

#include <string>
#include <type_traits>
#include <vector>

// Implements every response interface and keeps each call as text: "name 1 2 [3 4] <bytes>".
class ResponseRecorder : public IBootloaderCommandsResponse,
                         public IDataLoggerCommandsResponse,
                         public IConfigCommandsResponse,
                         public IPidTunerCommandsResponse,
                         public IMapTuningCommandsResponse,
                         public IControlerAdaptationResponse,
                         public ICandumpResponse,
                         public IFaultServiceCommandsResponse,
                         public IScopeCommandsResponse
{
public:
    using Ints = std::vector<int>;
    using Bytes = const std::string;

    std::vector<std::string> calls;

    // A receiver that brings everything here.
    CommandsResponseReceiver receiver()
    {
        return CommandsResponseReceiver(this, this, this, this, this, this, this, this, this);
    }

    void bootloaderReady() override { record(__func__); }
    void bootloaderValue(unsigned v) override { record(__func__, v); }
    void pongReceived(unsigned v) override { record(__func__, v); }
    void promptReceived() override { record(__func__); }

    void loggerStarted() override { record(__func__); }
    void loggerDataReceived(unsigned number, unsigned time, Ints&& v) override
    {
        record(__func__, number, time, v);
    }
    void loggerStopped() override { record(__func__); }

    void writeConfiguration(unsigned r, unsigned id) override { record(__func__, r, id); }
    void readConfiguration(unsigned r, unsigned id, Bytes& data) override
    {
        record(__func__, r, id, data);
    }
    void eraseConfiguration(unsigned r, unsigned id) override { record(__func__, r, id); }
    void writeCalibration(unsigned r, unsigned id) override { record(__func__, r, id); }

    void pidTunerStart(unsigned v) override { record(__func__, v); }
    void pidTunerSetPid(unsigned v) override { record(__func__, v); }
    void pidTunerGetPid(unsigned id, int a, int b, int c, int d, int e) override
    {
        record(__func__, id, a, b, c, d, e);
    }
    void pidTunerReset(unsigned v) override { record(__func__, v); }

    void mapTuningStart(unsigned n) override { record(__func__, n); }
    void mapTuningMapDetails(unsigned id, unsigned x, unsigned y) override
    {
        record(__func__, id, x, y);
    }
    void mapTuningGetMapLabel(
        unsigned id, MapAxis a, unsigned l, int v, MapCommandResult r) override
    {
        record(__func__, id, a, l, v, r);
    }
    void mapTuningSetMapLabel(unsigned id, MapAxis a, unsigned l, MapCommandResult r) override
    {
        record(__func__, id, a, l, r);
    }
    void mapTuningGetMapValue(
        unsigned id, unsigned x, unsigned y, int v, MapCommandResult r) override
    {
        record(__func__, id, x, y, v, r);
    }
    void mapTuningSetMapValue(unsigned id, unsigned x, unsigned y, MapCommandResult r) override
    {
        record(__func__, id, x, y, r);
    }
    void mapTuningMap(unsigned id, Ints&& x, Ints&& y, Ints&& v) override
    {
        record(__func__, id, x, y, v);
    }
    void mapTuningGetLastGetValue(unsigned id, int x, int y, int v) override
    {
        record(__func__, id, x, y, v);
    }

    void adaptationStart() override { record(__func__); }
    void adaptationStatus(AdaptationStatus s) override { record(__func__, s); }

    void candumpStart() override { record(__func__); }
    void candumpStop() override { record(__func__); }
    void candump(int bus, int t, int id, bool ext, bool fd, bool brs, Bytes& data) override
    {
        record(__func__, bus, t, id, ext, fd, brs, data);
    }

    void faultGetFaultCountResp(int a, int b) override { record(__func__, a, b); }
    void faultGetFaultsResp(std::vector<FaultItemData>&& v) override { record(__func__, v); }
    void faultCleanFaultsResp() override { record(__func__); }

    void scopeDataReceived(int a, int b, int c, Ints&& v) override { record(__func__, a, b, c, v); }

private:
    template <typename Value>
    static std::string text(const Value& value)
    {
        if constexpr (std::is_same_v<Value, std::string>) {
            return '<' + value + '>';
        } else if constexpr (std::is_same_v<Value, FaultItemData>) {
            return text(
                Ints{value.type, value.mode, value.category, value.componentId, value.faultId});
        } else if constexpr (std::is_enum_v<Value>) {
            return std::to_string(static_cast<int>(value));
        } else {
            return std::to_string(value);
        }
    }
    template <typename Item>
    static std::string text(const std::vector<Item>& items)
    {
        std::string list;
        for (const Item& item : items) {
            list += (list.empty() ? "" : " ") + text(item);
        }
        return '[' + list + ']';
    }

    template <typename... Arguments>
    void record(const char* name, const Arguments&... arguments)
    {
        std::string call = name;
        ((call += ' ' + text(arguments)), ...);
        calls.push_back(std::move(call));
    }
};
