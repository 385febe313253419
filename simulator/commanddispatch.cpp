// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/virtualcontroller.h"

namespace simulator {

// What the controller does with each command, by family. Each family hands on what is not its own.

void VirtualController::handle(const xcu::Command& command)
{
    xcu::Response response;
    response.set_protocol_version(1);
    const bool answered = currentGuise == Guise::Bootloader
                              ? answerBootloaderCommand(command, response)
                              : answerDeviceCommand(command, response);
    if (answered) {
        put(response);
    }
}

bool VirtualController::answerBootloaderCommand(
    const xcu::Command& command, xcu::Response& response)
{
    // Key material is not checked; the answer tells how many bytes came.
    switch (command.req_case()) {
    case xcu::Command::kPing:
        response.mutable_pong()->set_value(command.ping().value());
        return true;
    case xcu::Command::kRsaPublicKey:
        response.set_bootloader_value(static_cast<quint32>(command.rsa_public_key().key().size()));
        return true;
    case xcu::Command::kAesKey:
        response.set_bootloader_value(static_cast<quint32>(command.aes_key().key().size()));
        return true;
    case xcu::Command::kKeyExchange:
        response.set_bootloader_value(static_cast<quint32>(command.key_exchange().data().size()));
        return true;
    case xcu::Command::kModulePublicKeyRequest:
        response.set_bootloader_value(settings.seed);
        return true;
    case xcu::Command::kCommandData:
        response.mutable_prompt();
        return true;
    case xcu::Command::kReset:
        emit leavingBus(Guise::Device);
        return false;
    case xcu::Command::kResetToBootloader:
        emit leavingBus(Guise::Bootloader);
        return false;
    default:
        return false;
    }
}

bool VirtualController::answerDeviceCommand(const xcu::Command& command, xcu::Response& response)
{
    switch (command.req_case()) {
    case xcu::Command::kVirtualInputSet:
        inputs.set(command.virtual_input_set().index(), command.virtual_input_set().value());
        return false;
    case xcu::Command::kDriverCalibrationStart:
        adaptation.start();
        response.mutable_driver_calibration_started();
        return true;
    case xcu::Command::kDriverCalibrationStatus:
        response.mutable_driver_calibration_status()->set_status(
            adaptation.isBusy() ? xcu::ADAPTATION_BUSY : xcu::ADAPTATION_IDLE);
        return true;
    case xcu::Command::kFaultGetFaultCount:
        faultMemory.fill(*response.mutable_fault_count());
        return true;
    case xcu::Command::kFaultGetFaults:
        faultMemory.fill(*response.mutable_fault_list());
        return true;
    case xcu::Command::kFaultCleanFaults:
        faultMemory.clear();
        response.mutable_faults_cleaned();
        return true;
    case xcu::Command::kScopeData:
        fillScope(command.scope_data().value(), *response.mutable_scope_samples());
        return true;
    default:
        return answerLoggerCommand(command, response);
    }
}

bool VirtualController::answerLoggerCommand(const xcu::Command& command, xcu::Response& response)
{
    switch (command.req_case()) {
    case xcu::Command::kDataloggerStart:
        datalogger.start(command.datalogger_start());
        recordPacer.start();
        schedulePushing();
        response.mutable_logger_started();
        return true;
    case xcu::Command::kDataloggerStop:
        datalogger.stop();
        schedulePushing();
        response.mutable_logger_stopped();
        return true;
    case xcu::Command::kDataloggerData:
        if (datalogger.isRunning()) {
            putRecord();
        }
        return false;
    default:
        return answerCanCommand(command, response);
    }
}

bool VirtualController::answerCanCommand(const xcu::Command& command, xcu::Response& response)
{
    switch (command.req_case()) {
    case xcu::Command::kCandumpStart:
        capturing = true;
        framePacer.start();
        schedulePushing();
        response.mutable_candump_started();
        return true;
    case xcu::Command::kCandumpStop:
        capturing = false;
        schedulePushing();
        response.mutable_candump_stopped();
        return true;
    case xcu::Command::kCanSendMessage:
        if (capturing) {
            loopBack(command.can_send_message());
        }
        return false;
    default:
        return answerPidCommand(command, response);
    }
}

void VirtualController::loopBack(const xcu::CanSendMessageReq& request)
{
    xcu::CandumpFrame frame;
    frame.set_data(request.data());
    frame.set_bus(request.bus());
    frame.set_timestamp(static_cast<int>(timeMs()));
    frame.set_id(static_cast<int>(request.id()));
    frame.set_extended(request.extended());
    frame.set_fd(request.fd());
    putFrame(frame);
}

bool VirtualController::answerPidCommand(const xcu::Command& command, xcu::Response& response)
{
    switch (command.req_case()) {
    case xcu::Command::kPidTunerStart:
        response.mutable_pid_tuner_started()->set_value(PidTuner::regulatorCount);
        return true;
    case xcu::Command::kPidTunerSetPid:
        response.mutable_pid_tuner_set()->set_value(pidTuner.set(command.pid_tuner_set_pid()));
        return true;
    case xcu::Command::kPidTunerGetPid:
        pidTuner.fill(command.pid_tuner_get_pid().pid_id(), *response.mutable_pid_tuner_pid());
        return true;
    case xcu::Command::kPidTunerReset:
        response.mutable_pid_tuner_reset_done()->set_value(
            pidTuner.reset(command.pid_tuner_reset().pid_id()));
        return true;
    default:
        return answerMapCommand(command, response);
    }
}

bool VirtualController::answerMapCommand(const xcu::Command& command, xcu::Response& response)
{
    CalibrationMaps& maps = calibrationMaps;
    switch (command.req_case()) {
    case xcu::Command::kMapTunerStart:
        maps.answer(command.map_tuner_start(), *response.mutable_map_tuner_started());
        return true;
    case xcu::Command::kMapTunerGetMapDetails:
        maps.answer(command.map_tuner_get_map_details(), *response.mutable_map_details());
        return true;
    case xcu::Command::kMapTunerSetMapLabel:
        maps.answer(command.map_tuner_set_map_label(), *response.mutable_map_label_set());
        return true;
    case xcu::Command::kMapTunerGetMapLabel:
        maps.answer(command.map_tuner_get_map_label(), *response.mutable_map_label());
        return true;
    case xcu::Command::kMapTunerSetMapValue:
        maps.answer(command.map_tuner_set_map_value(), *response.mutable_map_value_set());
        return true;
    case xcu::Command::kMapTunerGetMapValue:
        maps.answer(command.map_tuner_get_map_value(), *response.mutable_map_value());
        return true;
    case xcu::Command::kMapTunerGetMap:
        maps.answer(command.map_tuner_get_map(), *response.mutable_map_data());
        return true;
    case xcu::Command::kMapTunerGetLastGetValue:
        maps.answer(command.map_tuner_get_last_get_value(), *response.mutable_map_last_get_value());
        return true;
    default:
        return answerConfigurationCommand(command, response);
    }
}

bool VirtualController::answerConfigurationCommand(
    const xcu::Command& command, xcu::Response& response)
{
    switch (command.req_case()) {
    case xcu::Command::kWriteConfiguration: {
        const xcu::WriteConfigurationReq& request = command.write_configuration();
        configurationStore.setBlock(request.config_id(), request.data());
        response.mutable_configuration_written()->set_config_id(request.config_id());
        return true;
    }
    case xcu::Command::kReadConfiguration: {
        const quint32 id = command.read_configuration().config_id();
        response.mutable_configuration()->set_config_id(id);
        response.mutable_configuration()->set_data(configurationStore.block(id));
        return true;
    }
    case xcu::Command::kEraseConfiguration: {
        const quint32 id = command.erase_configuration().config_id();
        configurationStore.erase(id);
        response.mutable_configuration_erased()->set_config_id(id);
        return true;
    }
    case xcu::Command::kWriteCalibration:
        configurationStore.setCalibration(command.write_calibration().data());
        response.mutable_calibration_written();
        return true;
    default:
        return answerBootloaderCommand(command, response);
    }
}

void VirtualController::fillScope(int channel, xcu::ScopeDataResp& response) const
{
    constexpr int sampleCount = 256;
    constexpr int samplePeriodMs = 10;
    const auto scoped = static_cast<unsigned int>(qBound(0, channel, logChannelCount - 1));
    for (int i = 0; i < sampleCount; ++i) {
        const quint32 time = timeMs() + static_cast<quint32>((i - sampleCount) * samplePeriodMs);
        response.add_samples(datalogger.value(scoped, time));
    }
    response.set_first_value(channel);
    response.set_second_value(sampleCount);
    response.set_third_value(samplePeriodMs);
}

} // namespace simulator
