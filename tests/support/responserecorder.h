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
    using MapAxis = IMapTuningCommandsResponse::MapAxis;

    std::vector<std::string> calls;

    // A receiver that brings everything here.
    CommandsResponseReceiver receiver()
    {
        return CommandsResponseReceiver(this, this, this, this, this, this, this, this, this);
    }

    void bootloaderReady() override { record("bootloaderReady"); }
    void bootloaderValue(unsigned int value) override { record("bootloaderValue", value); }
    void pongReceived(unsigned int value) override { record("pongReceived", value); }
    void promptReceived() override { record("promptReceived"); }

    void loggerStarted() override { record("loggerStarted"); }
    void loggerDataReceived(unsigned int number, unsigned int time, std::vector<int>&& v) override
    {
        record("loggerDataReceived", number, time, v);
    }
    void loggerStopped() override { record("loggerStopped"); }

    void writeConfiguration(unsigned int result, unsigned int id) override
    {
        record("writeConfiguration", result, id);
    }
    void readConfiguration(unsigned int result, unsigned int id, const std::string& data) override
    {
        record("readConfiguration", result, id, data);
    }
    void eraseConfiguration(unsigned int result, unsigned int id) override
    {
        record("eraseConfiguration", result, id);
    }
    void writeCalibration(unsigned int result, unsigned int id) override
    {
        record("writeCalibration", result, id);
    }

    void pidTunerStart(unsigned int value) override { record("pidTunerStart", value); }
    void pidTunerSetPid(unsigned int value) override { record("pidTunerSetPid", value); }
    void pidTunerGetPid(unsigned int id, int p1, int p2, int p3, int p4, int p5) override
    {
        record("pidTunerGetPid", id, p1, p2, p3, p4, p5);
    }
    void pidTunerReset(unsigned int value) override { record("pidTunerReset", value); }

    void mapTuningStart(unsigned int count) override { record("mapTuningStart", count); }
    void mapTuningMapDetails(unsigned int id, unsigned int x, unsigned int y) override
    {
        record("mapTuningMapDetails", id, x, y);
    }
    void mapTuningGetMapLabel(
        unsigned int id, MapAxis axis, unsigned int label, int value, MapCommandResult r) override
    {
        record("mapTuningGetMapLabel", id, int(axis), label, value, int(r));
    }
    void mapTuningSetMapLabel(
        unsigned int id, MapAxis axis, unsigned int label, MapCommandResult r) override
    {
        record("mapTuningSetMapLabel", id, int(axis), label, int(r));
    }
    void mapTuningGetMapValue(
        unsigned int id, unsigned int x, unsigned int y, int value, MapCommandResult r) override
    {
        record("mapTuningGetMapValue", id, x, y, value, int(r));
    }
    void mapTuningSetMapValue(
        unsigned int id, unsigned int x, unsigned int y, MapCommandResult r) override
    {
        record("mapTuningSetMapValue", id, x, y, int(r));
    }
    void mapTuningMap(
        unsigned int id, std::vector<int>&& x, std::vector<int>&& y, std::vector<int>&& v) override
    {
        record("mapTuningMap", id, x, y, v);
    }
    void mapTuningGetLastGetValue(unsigned int id, int x, int y, int value) override
    {
        record("mapTuningGetLastGetValue", id, x, y, value);
    }

    void adaptationStart() override { record("adaptationStart"); }
    void adaptationStatus(AdaptationStatus s) override { record("adaptationStatus", int(s)); }

    void candumpStart() override { record("candumpStart"); }
    void candumpStop() override { record("candumpStop"); }
    void candump(
        int bus, int time, int id, bool extended, bool fd, bool brs, const std::string& d) override
    {
        record("candump", bus, time, id, extended, fd, brs, d);
    }

    void faultGetFaultCountResp(int first, int second) override
    {
        record("faultGetFaultCountResp", first, second);
    }
    void faultGetFaultsResp(std::vector<FaultItemData>&& items) override
    {
        record("faultGetFaultsResp", items);
    }
    void faultCleanFaultsResp() override { record("faultCleanFaultsResp"); }

    void scopeDataReceived(int first, int second, int third, std::vector<int>&& s) override
    {
        record("scopeDataReceived", first, second, third, s);
    }

private:
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
