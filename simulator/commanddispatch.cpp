// SPDX-License-Identifier: GPL-3.0-or-later

// What the controller does with each command.
#include "simulator/virtualcontroller.h"

#include <algorithm>

using namespace simulator;

namespace {

// The first count is that of the faults, the second that of the warnings.
void fill(xcu::FaultGetFaultCountResp& response, const std::vector<xcu::FaultItem>& faults)
{
    constexpr quint32 warningType = 1;
    const auto isWarning = [](const xcu::FaultItem& fault) { return fault.type() == warningType; };
    const auto warnings = std::count_if(faults.begin(), faults.end(), isWarning);
    response.set_first_count(static_cast<int>(faults.size() - warnings));
    response.set_second_count(static_cast<int>(warnings));
}

// As a controller sends it back while its buses are captured.
void loopBack(const xcu::CanSendMessageReq& request, quint32 timeMs, xcu::CandumpFrame& frame)
{
    frame.set_data(request.data());
    frame.set_bus(request.bus());
    frame.set_timestamp(static_cast<int>(timeMs));
    frame.set_id(static_cast<int>(request.id()));
    frame.set_extended(request.extended());
    frame.set_fd(request.fd());
}

} // namespace

void VirtualController::answer(const xcu::Command& command, xcu::Response& response)
{
    using Command = xcu::Command;
    const Command::ReqCase member = command.req_case();
    const bool isBasic = member == Command::kPing || member == Command::kReset ||
                         member == Command::kResetToBootloader;
    if (settings.mode == Mode::Bootloader && !isBasic) {
        return;
    }
    switch (member) {
    case Command::kPing:
        return response.mutable_pong()->set_value(command.ping().value());
    case Command::kReset:
        return emit leavingBus(Mode::Device);
    case Command::kResetToBootloader:
        return emit leavingBus(Mode::Bootloader);
    case Command::kDataloggerStart:
        datalogger.start(command.datalogger_start());
        recordPacer.start();
        schedulePushing();
        response.mutable_logger_started();
        return;
    case Command::kDataloggerStop:
        datalogger.stop();
        schedulePushing();
        response.mutable_logger_stopped();
        return;
    case Command::kDataloggerData:
        if (datalogger.isRunning()) {
            put(nextRecord());
        }
        return;
    case Command::kVirtualInputSet:
        return datalogger.setVirtualInput(
            command.virtual_input_set().index(), command.virtual_input_set().value());
    case Command::kCandumpStart:
        capturing = true;
        trafficPacer.start();
        schedulePushing();
        response.mutable_candump_started();
        return;
    case Command::kCandumpStop:
        capturing = false;
        schedulePushing();
        response.mutable_candump_stopped();
        return;
    case Command::kCanSendMessage:
        if (capturing) {
            loopBack(command.can_send_message(), timeMs(), *response.mutable_candump_frame());
        }
        return;
    case Command::kReadConfiguration: {
        const std::string emptyBlock = "\xFF\xFF\xFF\xFF"; // a length that none can have
        const quint32 id = command.read_configuration().config_id();
        response.mutable_configuration()->set_config_id(id);
        return response.mutable_configuration()->set_data(
            configurationMemory.value(id, emptyBlock));
    }
    case Command::kDriverCalibrationStart:
        if (settings.calibrationMs > 0) {
            // The answer to this is to be seen for a moment before the first status follows.
            const int silenceMs = qMin(250, settings.calibrationMs / 2);
            QTimer::singleShot(silenceMs, this, &VirtualController::reportCalibration);
            calibration.start(settings.calibrationMs);
        }
        response.mutable_driver_calibration_started();
        return;
    case Command::kFaultGetFaultCount:
        return fill(*response.mutable_fault_count(), settings.faults);
    case Command::kFaultGetFaults:
        return response.mutable_fault_list()->mutable_faults()->Add(
            settings.faults.begin(), settings.faults.end());
    default:
        simulator::answer(calibrationMaps, command, response);
    }
}
