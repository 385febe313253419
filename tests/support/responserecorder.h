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

    void bootloaderReady() override { record("bootloaderReady"); }
    void bootloaderValue(unsigned v) override { record("bootloaderValue", v); }
    void pongReceived(unsigned v) override { record("pongReceived", v); }
    void promptReceived() override { record("promptReceived"); }

    void loggerStarted() override { record("loggerStarted"); }
    void loggerDataReceived(unsigned number, unsigned time, Ints&& v) override
    {
        record("loggerDataReceived", number, time, v);
    }
    void loggerStopped() override { record("loggerStopped"); }

    void writeConfiguration(unsigned r, unsigned id) override
    {
        record("writeConfiguration", r, id);
    }
    void readConfiguration(unsigned r, unsigned id, Bytes& data) override
    {
        record("readConfiguration", r, id, data);
    }
    void eraseConfiguration(unsigned r, unsigned id) override
    {
        record("eraseConfiguration", r, id);
    }
    void writeCalibration(unsigned r, unsigned id) override { record("writeCalibration", r, id); }

    void pidTunerStart(unsigned v) override { record("pidTunerStart", v); }
    void pidTunerSetPid(unsigned v) override { record("pidTunerSetPid", v); }
    void pidTunerGetPid(unsigned id, int a, int b, int c, int d, int e) override
    {
        record("pidTunerGetPid", id, a, b, c, d, e);
    }
    void pidTunerReset(unsigned v) override { record("pidTunerReset", v); }

    void mapTuningStart(unsigned n) override { record("mapTuningStart", n); }
    void mapTuningMapDetails(unsigned id, unsigned x, unsigned y) override
    {
        record("mapTuningMapDetails", id, x, y);
    }
    void mapTuningGetMapLabel(
        unsigned id, MapAxis a, unsigned l, int v, MapCommandResult r) override
    {
        record("mapTuningGetMapLabel", id, a, l, v, r);
    }
    void mapTuningSetMapLabel(unsigned id, MapAxis a, unsigned l, MapCommandResult r) override
    {
        record("mapTuningSetMapLabel", id, a, l, r);
    }
    void mapTuningGetMapValue(
        unsigned id, unsigned x, unsigned y, int v, MapCommandResult r) override
    {
        record("mapTuningGetMapValue", id, x, y, v, r);
    }
    void mapTuningSetMapValue(unsigned id, unsigned x, unsigned y, MapCommandResult r) override
    {
        record("mapTuningSetMapValue", id, x, y, r);
    }
    void mapTuningMap(unsigned id, Ints&& x, Ints&& y, Ints&& v) override
    {
        record("mapTuningMap", id, x, y, v);
    }
    void mapTuningGetLastGetValue(unsigned id, int x, int y, int v) override
    {
        record("mapTuningGetLastGetValue", id, x, y, v);
    }

    void adaptationStart() override { record("adaptationStart"); }
    void adaptationStatus(AdaptationStatus s) override { record("adaptationStatus", s); }

    void candumpStart() override { record("candumpStart"); }
    void candumpStop() override { record("candumpStop"); }
    void candump(int bus, int t, int id, bool ext, bool fd, bool brs, Bytes& data) override
    {
        record("candump", bus, t, id, ext, fd, brs, data);
    }

    void faultGetFaultCountResp(int a, int b) override { record("faultGetFaultCountResp", a, b); }
    void faultGetFaultsResp(std::vector<FaultItemData>&& v) override
    {
        record("faultGetFaultsResp", v);
    }
    void faultCleanFaultsResp() override { record("faultCleanFaultsResp"); }

    void scopeDataReceived(int a, int b, int c, Ints&& v) override
    {
        record("scopeDataReceived", a, b, c, v);
    }

private:
    template <typename Enumeration, typename = std::enable_if_t<std::is_enum_v<Enumeration>>>
    static std::string text(Enumeration value)
    {
        return std::to_string(static_cast<int>(value));
    }
    static std::string text(const std::string& bytes) { return '<' + bytes + '>'; }
    static std::string text(const FaultItemData& item)
    {
        return text(
            std::vector<int>{item.type, item.mode, item.category, item.componentId, item.faultId});
    }
    template <typename Number>
    static auto text(Number value) -> decltype(std::to_string(value))
    {
        return std::to_string(value);
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
