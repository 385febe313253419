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

template <typename Member, typename... Fill>
void CommandsSender::send(Member member, const Fill&... fill)
{
    Command command;
    command.set_protocol_version(1);
    [[maybe_unused]] auto& fields = *(command.*member)();
    (fill(fields), ...);
    comPort.commandSend(command.SerializeAsString());
}

void CommandsSender::sendResetToBootloader()
{
    send(&Command::mutable_reset_to_bootloader);
}

void CommandsSender::sendRsaPublicKey(const std::string& key)
{
    send(&Command::mutable_rsa_public_key, [&](auto& fields) { fields.set_key(key); });
}

void CommandsSender::sendAesKey(const std::string& key)
{
    send(&Command::mutable_aes_key, [&](auto& fields) { fields.set_key(key); });
}

void CommandsSender::sendKeyExchange(const std::string& data)
{
    send(&Command::mutable_key_exchange, [&](auto& fields) { fields.set_data(data); });
}

void CommandsSender::sendCommand(std::string data)
{
    send(&Command::mutable_command_data, [&](auto& fields) { fields.set_data(std::move(data)); });
}

void CommandsSender::sendPing(unsigned int value)
{
    send(&Command::mutable_ping, [&](auto& fields) { fields.set_value(value); });
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
    send(&Command::mutable_datalogger_start, [&](auto& fields) {
        fields.mutable_channels()->Add(channels.begin(), channels.end());
        fields.set_passive(passive ? 1 : 0);
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
    send(&Command::mutable_virtual_input_set, [&](auto& fields) {
        fields.set_index(index);
        fields.set_value(value);
    });
}

void CommandsSender::sendPidTunerStartReq()
{
    send(&Command::mutable_pid_tuner_start);
}

void CommandsSender::sendPidTunerSetPidReq(
    unsigned int pidId, int param1, int param2, int param3, int param4, int param5)
{
    send(&Command::mutable_pid_tuner_set_pid, [&](auto& fields) {
        fields.set_pid_id(pidId);
        fields.set_param_1(param1);
        fields.set_param_2(param2);
        fields.set_param_3(param3);
        fields.set_param_4(param4);
        fields.set_param_5(param5);
    });
}

void CommandsSender::sendPidTunerGetPidReq(unsigned int pidId)
{
    send(&Command::mutable_pid_tuner_get_pid, [&](auto& fields) { fields.set_pid_id(pidId); });
}

void CommandsSender::sendPidTunerResetReq(unsigned int pidId)
{
    send(&Command::mutable_pid_tuner_reset, [&](auto& fields) { fields.set_pid_id(pidId); });
}

void CommandsSender::sendMapTunerStartReq()
{
    send(&Command::mutable_map_tuner_start);
}

void CommandsSender::sendMapTunerGetMapDetails(unsigned int mapId)
{
    send(&Command::mutable_map_tuner_get_map_details, [&](auto& fields) {
        fields.set_map_id(mapId);
    });
}

void CommandsSender::sendMapTunerSetMapLabel(
    unsigned int mapId, MapAxis axis, unsigned int labelId, int value)
{
    send(&Command::mutable_map_tuner_set_map_label, [&](auto& fields) {
        fields.set_map_id(mapId);
        fields.set_axis(toWire(axis));
        fields.set_label_id(labelId);
        fields.set_value(value);
    });
}

void CommandsSender::sendMapTunerGetMapLabel(unsigned int mapId, MapAxis axis, unsigned int labelId)
{
    send(&Command::mutable_map_tuner_get_map_label, [&](auto& fields) {
        fields.set_map_id(mapId);
        fields.set_axis(toWire(axis));
        fields.set_label_id(labelId);
    });
}

void CommandsSender::sendMapTunerSetMapValue(
    unsigned int mapId, unsigned int xId, unsigned int yId, int value)
{
    send(&Command::mutable_map_tuner_set_map_value, [&](auto& fields) {
        fields.set_map_id(mapId);
        fields.set_x_id(xId);
        fields.set_y_id(yId);
        fields.set_value(value);
    });
}

void CommandsSender::sendMapTunerGetMapValue(unsigned int mapId, unsigned int xId, unsigned int yId)
{
    send(&Command::mutable_map_tuner_get_map_value, [&](auto& fields) {
        fields.set_map_id(mapId);
        fields.set_x_id(xId);
        fields.set_y_id(yId);
    });
}

void CommandsSender::sendMapTunerGetMap(unsigned int mapId)
{
    send(&Command::mutable_map_tuner_get_map, [&](auto& fields) { fields.set_map_id(mapId); });
}

void CommandsSender::sendMapTunerGetLastGetValue(unsigned int mapId)
{
    send(&Command::mutable_map_tuner_get_last_get_value, [&](auto& fields) {
        fields.set_map_id(mapId);
    });
}

void CommandsSender::sendConfigWriteReq(unsigned int configId, std::string data)
{
    send(&Command::mutable_write_configuration, [&](auto& fields) {
        fields.set_config_id(configId);
        fields.set_data(std::move(data));
    });
}

void CommandsSender::sendConfigReadReq(unsigned int configId)
{
    send(&Command::mutable_read_configuration, [&](auto& fields) {
        fields.set_config_id(configId);
    });
}

void CommandsSender::sendConfigEraseReq(unsigned int configId)
{
    send(&Command::mutable_erase_configuration, [&](auto& fields) {
        fields.set_config_id(configId);
    });
}

void CommandsSender::sendCalibrationWriteReq(std::string data)
{
    send(&Command::mutable_write_calibration, [&](auto& fields) {
        fields.set_data(std::move(data));
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
    send(&Command::mutable_can_setup_baudrate, [&](auto& fields) {
        fields.set_bus(bus);
        fields.set_baudrate(baudrate);
        fields.set_option_flag(optionFlag);
        fields.set_option_value(optionValue);
    });
}

void CommandsSender::sendCanSetupTermination(int bus, bool enabled)
{
    send(&Command::mutable_can_setup_termination, [&](auto& fields) {
        fields.set_bus(bus);
        fields.set_enabled(enabled);
    });
}

void CommandsSender::sendCanSendMessage(
    int bus, unsigned int id, std::string data, bool extended, bool fd)
{
    send(&Command::mutable_can_send_message, [&](auto& fields) {
        fields.set_bus(bus);
        fields.set_id(id);
        fields.set_data(std::move(data));
        fields.set_extended(extended);
        fields.set_fd(fd);
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
    send(&Command::mutable_scope_data, [&](auto& fields) { fields.set_value(value); });
}
