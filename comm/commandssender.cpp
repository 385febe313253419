// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"

#include "comm/comport.h"
#include "schema/link.pb.h"

#include <numeric>
#include <utility>

using xcu::Command;

namespace {

// An axis that is neither goes out as X.
xcu::MapAxis toWire(CommandsSender::MapAxis axis)
{
    return axis == CommandsSender::MapAxis::Y ? xcu::MAP_AXIS_Y : xcu::MAP_AXIS_X;
}

} // namespace

std::vector<unsigned int> comm::firstChannels(unsigned int count)
{
    std::vector<unsigned int> channels(count);
    std::iota(channels.begin(), channels.end(), 0U);
    return channels;
}

CommandsSender::CommandsSender(ComPort& port)
    : comPort(port)
{}

template <typename Member, typename... Fill>
void CommandsSender::send(Member member, const Fill&... fill)
{
    Command command;
    command.set_protocol_version(1);
    [[maybe_unused]] auto& request = *(command.*member)();
    (fill(request), ...);
    comPort.commandSend(command.SerializeAsString());
}

void CommandsSender::sendResetToBootloader()
{
    send(&Command::mutable_reset_to_bootloader);
}

void CommandsSender::sendRsaPublicKey(const std::string& key)
{
    send(&Command::mutable_rsa_public_key, [&](auto& request) { request.set_key(key); });
}

void CommandsSender::sendAesKey(const std::string& key)
{
    send(&Command::mutable_aes_key, [&](auto& request) { request.set_key(key); });
}

void CommandsSender::sendKeyExchange(const std::string& data)
{
    send(&Command::mutable_key_exchange, [&](auto& request) { request.set_data(data); });
}

void CommandsSender::sendCommand(std::string data)
{
    send(&Command::mutable_command_data, [&](auto& request) { request.set_data(std::move(data)); });
}

void CommandsSender::sendPing(unsigned int value)
{
    send(&Command::mutable_ping, [&](auto& request) { request.set_value(value); });
}

void CommandsSender::sendModuleKeyPublicKeyRequest()
{
    send(&Command::mutable_module_public_key_request);
}

void CommandsSender::sendReset()
{
    send(&Command::mutable_reset);
}

void CommandsSender::sendGetIds()
{
    send(&Command::mutable_get_device_id);
}

void CommandsSender::sendGetFirmwareId()
{
    send(&Command::mutable_get_firmware_id);
}

void CommandsSender::sendLoggerStart(std::vector<unsigned int>& channels, bool passive)
{
    send(&Command::mutable_datalogger_start, [&](auto& start) {
        start.mutable_channels()->Add(channels.begin(), channels.end());
        start.set_passive(passive ? 1 : 0);
    });
}

void CommandsSender::sendLoggerDataRequest()
{
    send(&Command::mutable_datalogger_data);
}

void CommandsSender::sendLoggerStop()
{
    send(&Command::mutable_datalogger_stop);
}

void CommandsSender::sendVirtualInputValue(int index, int value)
{
    send(&Command::mutable_virtual_input_set, [&](auto& request) {
        request.set_index(index);
        request.set_value(value);
    });
}

void CommandsSender::sendPidTunerStartReq()
{
    send(&Command::mutable_pid_tuner_start);
}

void CommandsSender::sendPidTunerSetPidReq(
    unsigned int pidId, int param1, int param2, int param3, int param4, int param5)
{
    send(&Command::mutable_pid_tuner_set_pid, [&](auto& request) {
        request.set_pid_id(pidId);
        request.set_param_1(param1);
        request.set_param_2(param2);
        request.set_param_3(param3);
        request.set_param_4(param4);
        request.set_param_5(param5);
    });
}

void CommandsSender::sendPidTunerGetPidReq(unsigned int pidId)
{
    send(&Command::mutable_pid_tuner_get_pid, [&](auto& request) { request.set_pid_id(pidId); });
}

void CommandsSender::sendPidTunerResetReq(unsigned int pidId)
{
    send(&Command::mutable_pid_tuner_reset, [&](auto& request) { request.set_pid_id(pidId); });
}

void CommandsSender::sendMapTunerStartReq()
{
    send(&Command::mutable_map_tuner_start);
}

void CommandsSender::sendMapTunerGetMapDetails(unsigned int mapId)
{
    send(&Command::mutable_map_tuner_get_map_details, [&](auto& request) {
        request.set_map_id(mapId);
    });
}

void CommandsSender::sendMapTunerSetMapLabel(
    unsigned int mapId, MapAxis axis, unsigned int labelId, int value)
{
    send(&Command::mutable_map_tuner_set_map_label, [&](auto& request) {
        request.set_map_id(mapId);
        request.set_axis(toWire(axis));
        request.set_label_id(labelId);
        request.set_value(value);
    });
}

void CommandsSender::sendMapTunerGetMapLabel(unsigned int mapId, MapAxis axis, unsigned int labelId)
{
    send(&Command::mutable_map_tuner_get_map_label, [&](auto& request) {
        request.set_map_id(mapId);
        request.set_axis(toWire(axis));
        request.set_label_id(labelId);
    });
}

void CommandsSender::sendMapTunerSetMapValue(
    unsigned int mapId, unsigned int xId, unsigned int yId, int value)
{
    send(&Command::mutable_map_tuner_set_map_value, [&](auto& request) {
        request.set_map_id(mapId);
        request.set_x_id(xId);
        request.set_y_id(yId);
        request.set_value(value);
    });
}

void CommandsSender::sendMapTunerGetMapValue(unsigned int mapId, unsigned int xId, unsigned int yId)
{
    send(&Command::mutable_map_tuner_get_map_value, [&](auto& request) {
        request.set_map_id(mapId);
        request.set_x_id(xId);
        request.set_y_id(yId);
    });
}

void CommandsSender::sendMapTunerGetMap(unsigned int mapId)
{
    send(&Command::mutable_map_tuner_get_map, [&](auto& request) { request.set_map_id(mapId); });
}

void CommandsSender::sendMapTunerGetLastGetValue(unsigned int mapId)
{
    send(&Command::mutable_map_tuner_get_last_get_value, [&](auto& request) {
        request.set_map_id(mapId);
    });
}

void CommandsSender::sendConfigWriteReq(unsigned int configId, std::string data)
{
    send(&Command::mutable_write_configuration, [&](auto& request) {
        request.set_config_id(configId);
        request.set_data(std::move(data));
    });
}

void CommandsSender::sendConfigReadReq(unsigned int configId)
{
    send(&Command::mutable_read_configuration, [&](auto& request) {
        request.set_config_id(configId);
    });
}

void CommandsSender::sendConfigEraseReq(unsigned int configId)
{
    send(&Command::mutable_erase_configuration, [&](auto& request) {
        request.set_config_id(configId);
    });
}

void CommandsSender::sendCalibrationWriteReq(std::string data)
{
    send(&Command::mutable_write_calibration, [&](auto& request) {
        request.set_data(std::move(data));
    });
}

void CommandsSender::sendAdaptationStart()
{
    send(&Command::mutable_driver_calibration_start);
}

void CommandsSender::sendAdaptationStatus()
{
    send(&Command::mutable_driver_calibration_status);
}

void CommandsSender::sendCandumpStart()
{
    send(&Command::mutable_candump_start);
}

void CommandsSender::sendCandumpStop()
{
    send(&Command::mutable_candump_stop);
}

void CommandsSender::sendCanSetupBaudrate(int bus, int baudrate, bool optionFlag, int optionValue)
{
    send(&Command::mutable_can_setup_baudrate, [&](auto& request) {
        request.set_bus(bus);
        request.set_baudrate(baudrate);
        request.set_option_flag(optionFlag);
        request.set_option_value(optionValue);
    });
}

void CommandsSender::sendCanSetupTermination(int bus, bool enabled)
{
    send(&Command::mutable_can_setup_termination, [&](auto& request) {
        request.set_bus(bus);
        request.set_enabled(enabled);
    });
}

void CommandsSender::sendCanSendMessage(
    int bus, unsigned int id, std::string data, bool extended, bool fd)
{
    send(&Command::mutable_can_send_message, [&](auto& request) {
        request.set_bus(bus);
        request.set_id(id);
        request.set_data(std::move(data));
        request.set_extended(extended);
        request.set_fd(fd);
    });
}

void CommandsSender::sendFaultGetFaultCountReq()
{
    send(&Command::mutable_fault_get_fault_count);
}

void CommandsSender::sendFaultGetFaultsReq()
{
    send(&Command::mutable_fault_get_faults);
}

void CommandsSender::sendFaultCleanFaultsReq()
{
    send(&Command::mutable_fault_clean_faults);
}

void CommandsSender::sendScopeDataRequest(int value)
{
    send(&Command::mutable_scope_data, [&](auto& request) { request.set_value(value); });
}
