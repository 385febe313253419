// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/commandsresponsereceiver.h"
#include "comm/responseinterfaces.h"

#include <string>
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
    using U = unsigned;
    using I = int;
    using A = MapAxis;
    using R = MapCommandResult;

    std::vector<std::string> calls;

    // A receiver that brings everything here.
    CommandsResponseReceiver receiver()
    {
        return CommandsResponseReceiver(this, this, this, this, this, this, this, this, this);
    }

    void bootloaderReady() override { record(__func__); }
    void bootloaderValue(U v) override { record(__func__, v); }
    void pongReceived(U v) override { record(__func__, v); }
    void promptReceived() override { record(__func__); }

    void loggerStarted() override { record(__func__); }
    void loggerDataReceived(U n, U t, Ints&& v) override { record(__func__, n, t, v); }
    void loggerStopped() override { record(__func__); }

    void writeConfiguration(U r, U id) override { record(__func__, r, id); }
    void readConfiguration(U r, U id, Bytes& data) override { record(__func__, r, id, data); }
    void eraseConfiguration(U r, U id) override { record(__func__, r, id); }
    void writeCalibration(U r, U id) override { record(__func__, r, id); }

    void pidTunerStart(U v) override { record(__func__, v); }
    void pidTunerSetPid(U v) override { record(__func__, v); }
    void pidTunerGetPid(U i, I a, I b, I c, I d, I e) override
    {
        record(__func__, i, a, b, c, d, e);
    }
    void pidTunerReset(U v) override { record(__func__, v); }

    void mapTuningStart(U n) override { record(__func__, n); }
    void mapTuningMapDetails(U id, U x, U y) override { record(__func__, id, x, y); }
    void mapTuningGetMapLabel(U m, A a, U l, I v, R r) override { record(__func__, m, a, l, v, r); }
    void mapTuningSetMapLabel(U m, A a, U l, R r) override { record(__func__, m, a, l, r); }
    void mapTuningGetMapValue(U m, U x, U y, I v, R r) override { record(__func__, m, x, y, v, r); }
    void mapTuningSetMapValue(U m, U x, U y, R r) override { record(__func__, m, x, y, r); }
    void mapTuningMap(U m, Ints&& x, Ints&& y, Ints&& v) override { record(__func__, m, x, y, v); }
    void mapTuningGetLastGetValue(U m, I x, I y, I v) override { record(__func__, m, x, y, v); }

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

    void scopeDataReceived(I a, I b, I c, Ints&& v) override { record(__func__, a, b, c, v); }

private:
    static std::string text(const std::string& value) { return '<' + value + '>'; }
    static std::string text(const FaultItemData& fault)
    {
        return text(Ints{fault.type, fault.mode, fault.category, fault.componentId, fault.faultId});
    }
    template <typename Number>
    static std::string text(Number value)
    {
        return std::to_string(static_cast<long long>(value));
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
