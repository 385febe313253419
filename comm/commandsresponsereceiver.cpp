// SPDX-License-Identifier: GPL-3.0-or-later
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
#include "comm/trace.h"
#include "schema/link.pb.h"

#include <limits>

using comm::traceLine;
using xcu::Response;

namespace {

using MapAxis = IMapTuningCommandsResponse::MapAxis;
using MapCommandResult = IMapTuningCommandsResponse::MapCommandResult;
using AdaptationStatus = IControlerAdaptationResponse::AdaptationStatus;

MapAxis toAxis(int wireValue)
{
    return wireValue == 1 ? MapAxis::Y : MapAxis::X;
}

// A result that nobody knows reads as 2, and a negative one as 0: on purpose, and lossy.
MapCommandResult toResult(int wireValue)
{
    if (wireValue > 3) {
        return MapCommandResult::Result2;
    }
    return wireValue > 0 ? static_cast<MapCommandResult>(wireValue) : MapCommandResult::Result0;
}

AdaptationStatus toStatus(int wireValue)
{
    return wireValue == 1 ? AdaptationStatus::Busy : AdaptationStatus::Idle;
}

template <typename RepeatedField>
std::vector<int> toVector(const RepeatedField& field)
{
    return std::vector<int>(field.begin(), field.end());
}

std::vector<FaultItemData> toFaults(const xcu::FaultGetFaultsResp& response)
{
    std::vector<FaultItemData> faults;
    faults.reserve(static_cast<std::size_t>(response.faults_size()));
    for (const xcu::FaultItem& item : response.faults()) {
        FaultItemData fault{};
        fault.type = static_cast<std::uint8_t>(item.type());
        fault.mode = static_cast<std::uint8_t>(item.mode());
        fault.category = static_cast<std::uint16_t>(item.category());
        fault.componentId = static_cast<std::uint16_t>(item.component_id());
        fault.faultId = static_cast<std::uint16_t>(item.fault_id());
        faults.push_back(fault);
    }
    return faults;
}

} // namespace

CommandsResponseReceiver::CommandsResponseReceiver(
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

void CommandsResponseReceiver::setDataLoggerCommandsResponse(IDataLoggerCommandsResponse* response)
{
    dataLoggerResponse = response;
}

void CommandsResponseReceiver::decodeResponse(const std::string& data)
{
    Response response;
    // The parser counts in int: what is larger is no message, and must not reach it.
    if (data.size() > std::numeric_limits<int>::max() || !response.ParseFromString(data)) {
        return;
    }
    switch (response.resp_case()) {
    case Response::kBootloaderValue:
        if (bootloaderResponse) {
            bootloaderResponse->bootloaderValue(response.bootloader_value());
        }
        return;
    case Response::kPong:
        if (bootloaderResponse) {
            bootloaderResponse->pongReceived(response.pong().value());
        }
        return;
    case Response::kPrompt:
        if (bootloaderResponse) {
            bootloaderResponse->promptReceived();
        }
        return;
    case Response::kCandumpStarted:
        if (candumpResponse) {
            candumpResponse->candumpStart();
        }
        return;
    case Response::kCandumpStopped:
        if (candumpResponse) {
            candumpResponse->candumpStop();
        }
        return;
    case Response::kCandumpFrame:
        if (candumpResponse) {
            const auto& fields = response.candump_frame();
            candumpResponse->candump(
                fields.bus(), fields.timestamp(), fields.id(), fields.extended(), fields.fd(),
                fields.brs(), fields.data());
        }
        return;
    case Response::kLoggerStarted:
        traceLine("kLoggerStarted"); // whether or not anyone listens
        if (dataLoggerResponse) {
            dataLoggerResponse->loggerStarted();
        }
        return;
    case Response::kLoggerStopped:
        traceLine("kLoggerStopped");
        if (dataLoggerResponse) {
            dataLoggerResponse->loggerStopped();
        }
        return;
    case Response::kLoggerData:
        traceLine("kLoggerData");
        if (dataLoggerResponse) {
            const auto& fields = response.logger_data();
            dataLoggerResponse->loggerDataReceived(
                fields.sample_number(), fields.timestamp(), toVector(fields.values()));
        }
        return;
    case Response::kPidTunerStarted:
        if (pidTunerResponse) {
            pidTunerResponse->pidTunerStart(response.pid_tuner_started().value());
        }
        return;
    case Response::kPidTunerSet:
        if (pidTunerResponse) {
            pidTunerResponse->pidTunerSetPid(response.pid_tuner_set().value());
        }
        return;
    case Response::kPidTunerPid:
        if (pidTunerResponse) {
            const auto& fields = response.pid_tuner_pid();
            pidTunerResponse->pidTunerGetPid(
                fields.pid_id(), fields.param_1(), fields.param_2(), fields.param_3(),
                fields.param_4(), fields.param_5());
        }
        return;
    case Response::kPidTunerResetDone:
        if (pidTunerResponse) {
            pidTunerResponse->pidTunerReset(response.pid_tuner_reset_done().value());
        }
        return;
    case Response::kMapTunerStarted:
        if (mapTuningResponse) {
            mapTuningResponse->mapTuningStart(response.map_tuner_started().map_count());
        }
        return;
    case Response::kMapDetails:
        if (mapTuningResponse) {
            const auto& fields = response.map_details();
            mapTuningResponse->mapTuningMapDetails(
                fields.map_id(), fields.x_size(), fields.y_size());
        }
        return;
    case Response::kMapLabelSet:
        if (mapTuningResponse) {
            const auto& fields = response.map_label_set();
            mapTuningResponse->mapTuningSetMapLabel(
                fields.map_id(), toAxis(fields.axis()), fields.label_id(),
                toResult(fields.result()));
        }
        return;
    case Response::kMapLabel:
        if (mapTuningResponse) {
            const auto& fields = response.map_label();
            mapTuningResponse->mapTuningGetMapLabel(
                fields.map_id(), toAxis(fields.axis()), fields.label_id(), fields.value(),
                toResult(fields.result()));
        }
        return;
    case Response::kMapValueSet:
        if (mapTuningResponse) {
            const auto& fields = response.map_value_set();
            mapTuningResponse->mapTuningSetMapValue(
                fields.map_id(), fields.x_id(), fields.y_id(), toResult(fields.result()));
        }
        return;
    case Response::kMapValue:
        if (mapTuningResponse) {
            const auto& fields = response.map_value();
            mapTuningResponse->mapTuningGetMapValue(
                fields.map_id(), fields.x_id(), fields.y_id(), fields.value(),
                toResult(fields.result()));
        }
        return;
    case Response::kMapData:
        if (mapTuningResponse) {
            const auto& fields = response.map_data();
            mapTuningResponse->mapTuningMap(
                fields.map_id(), toVector(fields.x_labels()), toVector(fields.y_labels()),
                toVector(fields.values()));
        }
        return;
    case Response::kMapLastGetValue:
        if (mapTuningResponse) {
            const auto& fields = response.map_last_get_value();
            mapTuningResponse->mapTuningGetLastGetValue(
                fields.map_id(), fields.x_id(), fields.y_id(), fields.value());
        }
        return;
    case Response::kConfigurationWritten:
        if (configResponse) {
            const auto& fields = response.configuration_written();
            configResponse->writeConfiguration(fields.result(), fields.config_id());
        }
        return;
    case Response::kConfiguration:
        if (configResponse) {
            const auto& fields = response.configuration();
            configResponse->readConfiguration(fields.result(), fields.config_id(), fields.data());
        }
        return;
    case Response::kConfigurationErased:
        if (configResponse) {
            const auto& fields = response.configuration_erased();
            configResponse->eraseConfiguration(fields.result(), fields.config_id());
        }
        return;
    case Response::kCalibrationWritten:
        if (configResponse) {
            const auto& fields = response.calibration_written();
            configResponse->writeCalibration(fields.result(), fields.config_id());
        }
        return;
    case Response::kDriverCalibrationStarted:
        if (adaptationResponse) {
            adaptationResponse->adaptationStart();
        }
        return;
    case Response::kDriverCalibrationStatus:
        if (adaptationResponse) {
            adaptationResponse->adaptationStatus(
                toStatus(response.driver_calibration_status().status()));
        }
        return;
    case Response::kFaultCount:
        if (faultServiceResponse) {
            const auto& fields = response.fault_count();
            faultServiceResponse->faultGetFaultCountResp(
                fields.first_count(), fields.second_count());
        }
        return;
    case Response::kFaultList:
        if (faultServiceResponse) {
            faultServiceResponse->faultGetFaultsResp(toFaults(response.fault_list()));
        }
        return;
    case Response::kFaultsCleaned:
        if (faultServiceResponse) {
            faultServiceResponse->faultCleanFaultsResp();
        }
        return;
    case Response::kScopeSamples:
        if (scopeResponse) {
            const auto& fields = response.scope_samples();
            scopeResponse->scopeDataReceived(
                fields.first_value(), fields.second_value(), fields.third_value(),
                toVector(fields.samples()));
        }
        return;
    default:
        return;
    }
}
