// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "comm/frame.h"
#include "mockedtty.h"
#include "schema/link.pb.h"

#include <QTest>
#include <set>

class TestCommandsSender : public QObject
{
    Q_OBJECT

private slots:
    void fillsEveryCommand();
};

void TestCommandsSender::fillsEveryCommand()
{
    using Axis = CommandsSender::MapAxis;
    MockedTty tty("XCU1");
    ComPort port;
    QVERIFY(port.open(tty.info()));
    CommandsSender sender(port);
    std::set<int> members;
    // The command, and that nothing but it is sent.
    const auto sends = [&](const char* expected, auto operation) {
        operation();
        QByteArray sent;
        QTRY_VERIFY((sent += tty.read()).size() > 4);
        xcu::Command command;
        const std::string payload = sent.mid(4).toStdString();
        QCOMPARE(sent.toStdString(), makeFrame(payload));
        QVERIFY(command.ParseFromString(payload));
        members.insert(command.req_case());
        QCOMPARE(command.ShortDebugString(), std::string("protocol_version: 1 ") + expected);
    };
    const std::string bytes("\0\xff", 2);

    sends("reset_to_bootloader { }", [&] { sender.sendResetToBootloader(); });
    sends("rsa_public_key { key: \"\\000\\377\" }", [&] { sender.sendRsaPublicKey(bytes); });
    sends("aes_key { key: \"\\000\\377\" }", [&] { sender.sendAesKey(bytes); });
    sends("key_exchange { data: \"\\000\\377\" }", [&] { sender.sendKeyExchange(bytes); });
    sends("command_data { data: \"\\000\\377\" }", [&] { sender.sendCommand(bytes); });
    sends("ping { value: 4275878400 }", [&] { sender.sendPing(0xFEDCBA00); });
    sends("module_public_key_request { }", [&] { sender.sendModuleKeyPublicKeyRequest(); });
    sends("reset { }", [&] { sender.sendReset(); });
    sends("get_device_id { }", [&] { sender.sendGetIds(); });
    sends("get_firmware_id { }", [&] { sender.sendGetFirmwareId(); });
    std::vector<unsigned int> channels{5, 0, 127};
    std::vector<unsigned int> none;
    sends("datalogger_start { channels: 5 channels: 0 channels: 127 passive: 1 }", [&] {
        sender.sendLoggerStart(channels, true);
    });
    sends("datalogger_start { }", [&] { sender.sendLoggerStart(none, false); });
    sends("datalogger_data { }", [&] { sender.sendLoggerDataRequest(); });
    sends("datalogger_stop { }", [&] { sender.sendLoggerStop(); });
    sends("virtual_input_set { index: 3 value: -4 }", [&] { sender.sendVirtualInputValue(3, -4); });
    sends("pid_tuner_start { }", [&] { sender.sendPidTunerStartReq(); });
    sends(
        "pid_tuner_set_pid { pid_id: 9 param_1: 1 param_2: -2 param_3: 3 param_4: 4 param_5: 5 }",
        [&] { sender.sendPidTunerSetPidReq(9, 1, -2, 3, 4, 5); });
    sends("pid_tuner_get_pid { pid_id: 9 }", [&] { sender.sendPidTunerGetPidReq(9); });
    sends("pid_tuner_reset { pid_id: 9 }", [&] { sender.sendPidTunerResetReq(9); });
    sends("map_tuner_start { }", [&] { sender.sendMapTunerStartReq(); });
    sends("map_tuner_get_map_details { map_id: 1 }", [&] { sender.sendMapTunerGetMapDetails(1); });
    sends("map_tuner_set_map_label { map_id: 1 axis: MAP_AXIS_Y label_id: 2 value: -3 }", [&] {
        sender.sendMapTunerSetMapLabel(1, Axis::Y, 2, -3);
    });
    sends("map_tuner_set_map_label { map_id: 1 label_id: 2 value: 3 }", [&] {
        sender.sendMapTunerSetMapLabel(1, Axis::X, 2, 3);
    });
    sends("map_tuner_get_map_label { map_id: 1 axis: MAP_AXIS_Y label_id: 2 }", [&] {
        sender.sendMapTunerGetMapLabel(1, Axis::Y, 2);
    });
    sends("map_tuner_get_map_label { map_id: 1 label_id: 2 }", [&] {
        sender.sendMapTunerGetMapLabel(1, static_cast<Axis>(7), 2);
    });
    sends("map_tuner_set_map_value { map_id: 1 x_id: 2 y_id: 3 value: -4 }", [&] {
        sender.sendMapTunerSetMapValue(1, 2, 3, -4);
    });
    sends("map_tuner_get_map_value { map_id: 1 x_id: 2 y_id: 3 }", [&] {
        sender.sendMapTunerGetMapValue(1, 2, 3);
    });
    sends("map_tuner_get_map { map_id: 1 }", [&] { sender.sendMapTunerGetMap(1); });
    sends("map_tuner_get_last_get_value { map_id: 1 }", [&] {
        sender.sendMapTunerGetLastGetValue(1);
    });
    sends("write_configuration { data: \"\\000\\377\" config_id: 6 }", [&] {
        sender.sendConfigWriteReq(6, bytes);
    });
    sends("read_configuration { config_id: 6 }", [&] { sender.sendConfigReadReq(6); });
    sends("read_configuration { }", [&] { sender.sendConfigReadReq(0); });
    sends("erase_configuration { config_id: 6 }", [&] { sender.sendConfigEraseReq(6); });
    sends("write_calibration { }", [&] { sender.sendCalibrationWriteReq(""); });
    sends("driver_calibration_start { }", [&] { sender.sendAdaptationStart(); });
    sends("driver_calibration_status { }", [&] { sender.sendAdaptationStatus(); });
    sends("candump_start { }", [&] { sender.sendCandumpStart(); });
    sends("candump_stop { }", [&] { sender.sendCandumpStop(); });
    sends("can_setup_baudrate { bus: 1 baudrate: 500000 option_flag: true option_value: 2 }", [&] {
        sender.sendCanSetupBaudrate(1, 500000, true, 2);
    });
    sends("can_setup_termination { bus: 1 enabled: true }", [&] {
        sender.sendCanSetupTermination(1, true);
    });
    sends("can_send_message { data: \"\\000\\377\" bus: 1 id: 4294967295 extended: true }", [&] {
        sender.sendCanSendMessage(1, 0xFFFFFFFF, bytes, true, false);
    });
    sends(
        "can_send_message { fd: true }", [&] { sender.sendCanSendMessage(0, 0, "", false, true); });
    sends("fault_get_fault_count { }", [&] { sender.sendFaultGetFaultCountReq(); });
    sends("fault_get_faults { }", [&] { sender.sendFaultGetFaultsReq(); });
    sends("fault_clean_faults { }", [&] { sender.sendFaultCleanFaultsReq(); });
    sends("scope_data { value: -1 }", [&] { sender.sendScopeDataRequest(-1); });
    QCOMPARE(int(members.size()), xcu::Command::descriptor()->oneof_decl(0)->field_count());
}

QTEST_GUILESS_MAIN(TestCommandsSender)
#include "tst_commandssender.moc"
