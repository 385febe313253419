// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"

#include "comm/comport.h"
#include "schema/link.pb.h"

#include <numeric>
#include <utility>

using xcu::Command;

namespace {

constexpr unsigned int protocolVersion = 1;

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

template <typename Fill>
void CommandsSender::send(Fill fill)
{
    Command command;
    command.set_protocol_version(protocolVersion);
    fill(command);
    comPort.commandSend(command.SerializeAsString());
}

void CommandsSender::sendResetToBootloader()
{
    send([](Command& command) { command.mutable_reset_to_bootloader(); });
}

void CommandsSender::sendRsaPublicKey(const std::string& key)
{
    send([&](Command& command) { command.mutable_rsa_public_key()->set_key(key); });
}

void CommandsSender::sendAesKey(const std::string& key)
{
    send([&](Command& command) { command.mutable_aes_key()->set_key(key); });
}

void CommandsSender::sendKeyExchange(const std::string& data)
{
    send([&](Command& command) { command.mutable_key_exchange()->set_data(data); });
}

void CommandsSender::sendCommand(std::string data)
{
    send([&](Command& command) { command.mutable_command_data()->set_data(std::move(data)); });
}

void CommandsSender::sendPing(unsigned int value)
{
    send([&](Command& command) { command.mutable_ping()->set_value(value); });
}

void CommandsSender::sendModuleKeyPublicKeyRequest()
{
    send([](Command& command) { command.mutable_module_public_key_request(); });
}

void CommandsSender::sendReset()
{
    send([](Command& command) { command.mutable_reset(); });
}

void CommandsSender::sendGetIds()
{
    send([](Command& command) { command.mutable_get_device_id(); });
}

void CommandsSender::sendGetFirmwareId()
{
    send([](Command& command) { command.mutable_get_firmware_id(); });
}

void CommandsSender::sendLoggerStart(std::vector<unsigned int>& channels, bool passive)
{
    send([&](Command& command) {
        auto& start = *command.mutable_datalogger_start();
        start.mutable_channels()->Add(channels.begin(), channels.end());
        start.set_passive(passive ? 1 : 0);
    });
}

void CommandsSender::sendLoggerDataRequest()
{
    send([](Command& command) { command.mutable_datalogger_data(); });
}

void CommandsSender::sendLoggerStop()
{
    send([](Command& command) { command.mutable_datalogger_stop(); });
}

void CommandsSender::sendVirtualInputValue(int index, int value)
{
    send([&](Command& command) {
        auto& request = *command.mutable_virtual_input_set();
        request.set_index(index);
        request.set_value(value);
    });
}

void CommandsSender::sendPidTunerStartReq()
{
    send([](Command& command) { command.mutable_pid_tuner_start(); });
}

void CommandsSender::sendPidTunerSetPidReq(
    unsigned int pidId, int param1, int param2, int param3, int param4, int param5)
{
    send([&](Command& command) {
        auto& request = *command.mutable_pid_tuner_set_pid();
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
    send([&](Command& command) { command.mutable_pid_tuner_get_pid()->set_pid_id(pidId); });
}

void CommandsSender::sendPidTunerResetReq(unsigned int pidId)
{
    send([&](Command& command) { command.mutable_pid_tuner_reset()->set_pid_id(pidId); });
}

void CommandsSender::sendMapTunerStartReq()
{
    send([](Command& command) { command.mutable_map_tuner_start(); });
}

void CommandsSender::sendMapTunerGetMapDetails(unsigned int mapId)
{
    send([&](Command& command) { command.mutable_map_tuner_get_map_details()->set_map_id(mapId); });
}

void CommandsSender::sendMapTunerSetMapLabel(
    unsigned int mapId, MapAxis axis, unsigned int labelId, int value)
{
    send([&](Command& command) {
        auto& request = *command.mutable_map_tuner_set_map_label();
        request.set_map_id(mapId);
        request.set_axis(toWire(axis));
        request.set_label_id(labelId);
        request.set_value(value);
    });
}

void CommandsSender::sendMapTunerGetMapLabel(unsigned int mapId, MapAxis axis, unsigned int labelId)
{
    send([&](Command& command) {
        auto& request = *command.mutable_map_tuner_get_map_label();
        request.set_map_id(mapId);
        request.set_axis(toWire(axis));
        request.set_label_id(labelId);
    });
}

void CommandsSender::sendMapTunerSetMapValue(
    unsigned int mapId, unsigned int xId, unsigned int yId, int value)
{
    send([&](Command& command) {
        auto& request = *command.mutable_map_tuner_set_map_value();
        request.set_map_id(mapId);
        request.set_x_id(xId);
        request.set_y_id(yId);
        request.set_value(value);
    });
}

void CommandsSender::sendMapTunerGetMapValue(unsigned int mapId, unsigned int xId, unsigned int yId)
{
    send([&](Command& command) {
        auto& request = *command.mutable_map_tuner_get_map_value();
        request.set_map_id(mapId);
        request.set_x_id(xId);
        request.set_y_id(yId);
    });
}

void CommandsSender::sendMapTunerGetMap(unsigned int mapId)
{
    send([&](Command& command) { command.mutable_map_tuner_get_map()->set_map_id(mapId); });
}

void CommandsSender::sendMapTunerGetLastGetValue(unsigned int mapId)
{
    send([&](Command& command) {
        command.mutable_map_tuner_get_last_get_value()->set_map_id(mapId);
    });
}

void CommandsSender::sendConfigWriteReq(unsigned int configId, std::string data)
{
    send([&](Command& command) {
        auto& request = *command.mutable_write_configuration();
        request.set_config_id(configId);
        request.set_data(std::move(data));
    });
}

void CommandsSender::sendConfigReadReq(unsigned int configId)
{
    send([&](Command& command) { command.mutable_read_configuration()->set_config_id(configId); });
}

void CommandsSender::sendConfigEraseReq(unsigned int configId)
{
    send([&](Command& command) { command.mutable_erase_configuration()->set_config_id(configId); });
}

void CommandsSender::sendCalibrationWriteReq(std::string data)
{
    send([&](Command& command) { command.mutable_write_calibration()->set_data(std::move(data)); });
}

void CommandsSender::sendAdaptationStart()
{
    send([](Command& command) { command.mutable_driver_calibration_start(); });
}

void CommandsSender::sendAdaptationStatus()
{
    send([](Command& command) { command.mutable_driver_calibration_status(); });
}

void CommandsSender::sendCandumpStart()
{
    send([](Command& command) { command.mutable_candump_start(); });
}

void CommandsSender::sendCandumpStop()
{
    send([](Command& command) { command.mutable_candump_stop(); });
}

void CommandsSender::sendCanSetupBaudrate(int bus, int baudrate, bool optionFlag, int optionValue)
{
    send([&](Command& command) {
        auto& request = *command.mutable_can_setup_baudrate();
        request.set_bus(bus);
        request.set_baudrate(baudrate);
        request.set_option_flag(optionFlag);
        request.set_option_value(optionValue);
    });
}

void CommandsSender::sendCanSetupTermination(int bus, bool enabled)
{
    send([&](Command& command) {
        auto& request = *command.mutable_can_setup_termination();
        request.set_bus(bus);
        request.set_enabled(enabled);
    });
}

void CommandsSender::sendCanSendMessage(
    int bus, unsigned int id, std::string data, bool extended, bool fd)
{
    send([&](Command& command) {
        auto& request = *command.mutable_can_send_message();
        request.set_bus(bus);
        request.set_id(id);
        request.set_data(std::move(data));
        request.set_extended(extended);
        request.set_fd(fd);
    });
}

void CommandsSender::sendFaultGetFaultCountReq()
{
    send([](Command& command) { command.mutable_fault_get_fault_count(); });
}

void CommandsSender::sendFaultGetFaultsReq()
{
    send([](Command& command) { command.mutable_fault_get_faults(); });
}

void CommandsSender::sendFaultCleanFaultsReq()
{
    send([](Command& command) { command.mutable_fault_clean_faults(); });
}

void CommandsSender::sendScopeDataRequest(int value)
{
    send([&](Command& command) { command.mutable_scope_data()->set_value(value); });
}
