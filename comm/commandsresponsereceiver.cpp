// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandsresponsereceiver.h"

#include "platform/diagnostics.h"
#include "schema/link.pb.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

using platform::printLine;
using xcu::Response;

namespace {

using Bootloader = IBootloaderCommandsResponse;
using Candump = ICandumpResponse;
using Logger = IDataLoggerCommandsResponse;
using Pid = IPidTunerCommandsResponse;
using Maps = IMapTuningCommandsResponse;
using Config = IConfigCommandsResponse;
using Adaptation = IControlerAdaptationResponse;
using Faults = IFaultServiceCommandsResponse;
using Scope = IScopeCommandsResponse;

Maps::MapAxis toAxis(int wireValue)
{
    return wireValue == 1 ? Maps::MapAxis::Y : Maps::MapAxis::X;
}

// A result that nobody knows reads as 2, and a negative one as 0: on purpose, and lossy.
Maps::MapCommandResult toResult(int wireValue)
{
    return static_cast<Maps::MapCommandResult>(wireValue > 3 ? 2 : std::max(wireValue, 0));
}

Adaptation::AdaptationStatus toStatus(int wireValue)
{
    return wireValue == 1 ? Adaptation::AdaptationStatus::Busy : Adaptation::AdaptationStatus::Idle;
}

template <typename RepeatedField>
std::vector<int> toVector(const RepeatedField& field)
{
    return std::vector<int>(field.begin(), field.end());
}

std::vector<FaultItemData> toFaults(const xcu::FaultGetFaultsResp& response)
{
    std::vector<FaultItemData> faults;
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

// Only its type is used: that of a pointer to the interface to which the operation belongs.
template <typename Interface, typename... Parameters>
Interface* interfaceOf(void (Interface::*operation)(Parameters...));

} // namespace

void CommandsResponseReceiver::decodeResponse(const std::string& data)
{
    Response response;
    // The parser counts in int: what is larger is no message, and must not reach it.
    if (data.size() > std::numeric_limits<int>::max() || !response.ParseFromString(data)) {
        return;
    }
    const std::tuple interfaces(
        bootloaderResponse, dataLoggerResponse, configResponse, pidTunerResponse, mapTuningResponse,
        adaptationResponse, candumpResponse, faultServiceResponse, scopeResponse);
    // A response may come for which there is no listener.
    const auto call = [&](auto operation, auto&&... arguments) {
        if (auto* interface = std::get<decltype(interfaceOf(operation))>(interfaces)) {
            (interface->*operation)(std::forward<decltype(arguments)>(arguments)...);
        }
    };
    const auto callWithResult = [&](auto operation, const auto& fields) {
        call(operation, fields.result(), fields.config_id());
    };
    switch (response.resp_case()) {
    case Response::kBootloaderValue:
        return call(&Bootloader::bootloaderValue, response.bootloader_value());
    case Response::kPong:
        return call(&Bootloader::pongReceived, response.pong().value());
    case Response::kPrompt:
        return call(&Bootloader::promptReceived);
    case Response::kCandumpStarted:
        return call(&Candump::candumpStart);
    case Response::kCandumpStopped:
        return call(&Candump::candumpStop);
    case Response::kCandumpFrame: {
        const auto& fields = response.candump_frame();
        return call(
            &Candump::candump, fields.bus(), fields.timestamp(), fields.id(), fields.extended(),
            fields.fd(), fields.brs(), fields.data());
    }
    case Response::kLoggerStarted:
        printLine("kLoggerStarted"); // whether or not anyone listens
        return call(&Logger::loggerStarted);
    case Response::kLoggerStopped:
        printLine("kLoggerStopped");
        return call(&Logger::loggerStopped);
    case Response::kLoggerData: {
        const auto& fields = response.logger_data();
        printLine("kLoggerData");
        return call(
            &Logger::loggerDataReceived, fields.sample_number(), fields.timestamp(),
            toVector(fields.values()));
    }
    case Response::kPidTunerStarted:
        return call(&Pid::pidTunerStart, response.pid_tuner_started().value());
    case Response::kPidTunerSet:
        return call(&Pid::pidTunerSetPid, response.pid_tuner_set().value());
    case Response::kPidTunerPid: {
        const auto& fields = response.pid_tuner_pid();
        return call(
            &Pid::pidTunerGetPid, fields.pid_id(), fields.param_1(), fields.param_2(),
            fields.param_3(), fields.param_4(), fields.param_5());
    }
    case Response::kPidTunerResetDone:
        return call(&Pid::pidTunerReset, response.pid_tuner_reset_done().value());
    case Response::kMapTunerStarted:
        return call(&Maps::mapTuningStart, response.map_tuner_started().map_count());
    case Response::kMapDetails: {
        const auto& fields = response.map_details();
        return call(&Maps::mapTuningMapDetails, fields.map_id(), fields.x_size(), fields.y_size());
    }
    case Response::kMapLabelSet: {
        const auto& fields = response.map_label_set();
        return call(
            &Maps::mapTuningSetMapLabel, fields.map_id(), toAxis(fields.axis()), fields.label_id(),
            toResult(fields.result()));
    }
    case Response::kMapLabel: {
        const auto& fields = response.map_label();
        return call(
            &Maps::mapTuningGetMapLabel, fields.map_id(), toAxis(fields.axis()), fields.label_id(),
            fields.value(), toResult(fields.result()));
    }
    case Response::kMapValueSet: {
        const auto& fields = response.map_value_set();
        return call(
            &Maps::mapTuningSetMapValue, fields.map_id(), fields.x_id(), fields.y_id(),
            toResult(fields.result()));
    }
    case Response::kMapValue: {
        const auto& fields = response.map_value();
        return call(
            &Maps::mapTuningGetMapValue, fields.map_id(), fields.x_id(), fields.y_id(),
            fields.value(), toResult(fields.result()));
    }
    case Response::kMapData: {
        const auto& fields = response.map_data();
        return call(
            &Maps::mapTuningMap, fields.map_id(), toVector(fields.x_labels()),
            toVector(fields.y_labels()), toVector(fields.values()));
    }
    case Response::kMapLastGetValue: {
        const auto& fields = response.map_last_get_value();
        return call(
            &Maps::mapTuningGetLastGetValue, fields.map_id(), fields.x_id(), fields.y_id(),
            fields.value());
    }
    case Response::kConfigurationWritten:
        return callWithResult(&Config::writeConfiguration, response.configuration_written());
    case Response::kConfiguration: {
        const auto& fields = response.configuration();
        return call(&Config::readConfiguration, fields.result(), fields.config_id(), fields.data());
    }
    case Response::kConfigurationErased:
        return callWithResult(&Config::eraseConfiguration, response.configuration_erased());
    case Response::kCalibrationWritten:
        return callWithResult(&Config::writeCalibration, response.calibration_written());
    case Response::kDriverCalibrationStarted:
        return call(&Adaptation::adaptationStart);
    case Response::kDriverCalibrationStatus:
        return call(
            &Adaptation::adaptationStatus, toStatus(response.driver_calibration_status().status()));
    case Response::kFaultCount: {
        const auto& fields = response.fault_count();
        return call(&Faults::faultGetFaultCountResp, fields.first_count(), fields.second_count());
    }
    case Response::kFaultList:
        return call(&Faults::faultGetFaultsResp, toFaults(response.fault_list()));
    case Response::kFaultsCleaned:
        return call(&Faults::faultCleanFaultsResp);
    case Response::kScopeSamples: {
        const auto& fields = response.scope_samples();
        return call(
            &Scope::scopeDataReceived, fields.first_value(), fields.second_value(),
            fields.third_value(), toVector(fields.samples()));
    }
    default:
        return;
    }
}
