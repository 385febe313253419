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
    const auto sends = [&](const char* expected, auto operation, auto&&... arguments) {
        (sender.*operation)(arguments...);
        QByteArray sent;
        QTRY_VERIFY((sent += tty.read()).size() > 4);
        xcu::Command command;
        const std::string payload = sent.mid(4).toStdString();
        QCOMPARE(sent.toStdString(), makeFrame(payload));
        QVERIFY(command.ParseFromString(payload));
        members.insert(command.req_case());
        QCOMPARE(command.ShortDebugString(), std::string("protocol_version: 1 ") + expected);
    };
    using Sender = CommandsSender;
    const std::string bytes("\0\xff", 2);
    std::vector<unsigned int> channels{5, 0, 127};
    std::vector<unsigned int> none;

    sends("reset_to_bootloader { }", &Sender::sendResetToBootloader);
    sends("rsa_public_key { key: \"\\000\\377\" }", &Sender::sendRsaPublicKey, bytes);
    sends("aes_key { key: \"\\000\\377\" }", &Sender::sendAesKey, bytes);
    sends("key_exchange { data: \"\\000\\377\" }", &Sender::sendKeyExchange, bytes);
    sends("command_data { data: \"\\000\\377\" }", &Sender::sendCommand, bytes);
    sends("ping { value: 4275878400 }", &Sender::sendPing, 0xFEDCBA00);
    sends("module_public_key_request { }", &Sender::sendModuleKeyPublicKeyRequest);
    sends("reset { }", &Sender::sendReset);
    sends("get_device_id { }", &Sender::sendGetIds);
    sends("get_firmware_id { }", &Sender::sendGetFirmwareId);
    sends(
        "datalogger_start { channels: 5 channels: 0 channels: 127 passive: 1 }",
        &Sender::sendLoggerStart, channels, true);
    sends("datalogger_start { }", &Sender::sendLoggerStart, none, false);
    sends("datalogger_data { }", &Sender::sendLoggerDataRequest);
    sends("datalogger_stop { }", &Sender::sendLoggerStop);
    sends("virtual_input_set { index: 3 value: -4 }", &Sender::sendVirtualInputValue, 3, -4);
    sends("pid_tuner_start { }", &Sender::sendPidTunerStartReq);
    sends(
        "pid_tuner_set_pid { pid_id: 9 param_1: 1 param_2: -2 param_3: 3 param_4: 4 param_5: 5 }",
        &Sender::sendPidTunerSetPidReq, 9, 1, -2, 3, 4, 5);
    sends("pid_tuner_get_pid { pid_id: 9 }", &Sender::sendPidTunerGetPidReq, 9);
    sends("pid_tuner_reset { pid_id: 9 }", &Sender::sendPidTunerResetReq, 9);
    sends("map_tuner_start { }", &Sender::sendMapTunerStartReq);
    sends("map_tuner_get_map_details { map_id: 1 }", &Sender::sendMapTunerGetMapDetails, 1);
    sends(
        "map_tuner_set_map_label { map_id: 1 axis: MAP_AXIS_Y label_id: 2 value: -3 }",
        &Sender::sendMapTunerSetMapLabel, 1, Axis::Y, 2, -3);
    sends(
        "map_tuner_set_map_label { map_id: 1 label_id: 2 value: 3 }",
        &Sender::sendMapTunerSetMapLabel, 1, Axis::X, 2, 3);
    sends(
        "map_tuner_get_map_label { map_id: 1 axis: MAP_AXIS_Y label_id: 2 }",
        &Sender::sendMapTunerGetMapLabel, 1, Axis::Y, 2);
    sends(
        "map_tuner_get_map_label { map_id: 1 label_id: 2 }", &Sender::sendMapTunerGetMapLabel, 1,
        static_cast<Axis>(7), 2);
    sends(
        "map_tuner_set_map_value { map_id: 1 x_id: 2 y_id: 3 value: -4 }",
        &Sender::sendMapTunerSetMapValue, 1, 2, 3, -4);
    sends(
        "map_tuner_get_map_value { map_id: 1 x_id: 2 y_id: 3 }", &Sender::sendMapTunerGetMapValue,
        1, 2, 3);
    sends("map_tuner_get_map { map_id: 1 }", &Sender::sendMapTunerGetMap, 1);
    sends("map_tuner_get_last_get_value { map_id: 1 }", &Sender::sendMapTunerGetLastGetValue, 1);
    sends(
        "write_configuration { data: \"\\000\\377\" config_id: 6 }", &Sender::sendConfigWriteReq, 6,
        bytes);
    sends("read_configuration { config_id: 6 }", &Sender::sendConfigReadReq, 6);
    sends("read_configuration { }", &Sender::sendConfigReadReq, 0);
    sends("erase_configuration { config_id: 6 }", &Sender::sendConfigEraseReq, 6);
    sends("write_calibration { }", &Sender::sendCalibrationWriteReq, std::string());
    sends("driver_calibration_start { }", &Sender::sendAdaptationStart);
    sends("driver_calibration_status { }", &Sender::sendAdaptationStatus);
    sends("candump_start { }", &Sender::sendCandumpStart);
    sends("candump_stop { }", &Sender::sendCandumpStop);
    sends(
        "can_setup_baudrate { bus: 1 baudrate: 500000 option_flag: true option_value: 2 }",
        &Sender::sendCanSetupBaudrate, 1, 500000, true, 2);
    sends(
        "can_setup_termination { bus: 1 enabled: true }", &Sender::sendCanSetupTermination, 1,
        true);
    sends(
        "can_send_message { data: \"\\000\\377\" bus: 1 id: 4294967295 extended: true }",
        &Sender::sendCanSendMessage, 1, 0xFFFFFFFF, bytes, true, false);
    sends(
        "can_send_message { fd: true }", &Sender::sendCanSendMessage, 0, 0, std::string(), false,
        true);
    sends("fault_get_fault_count { }", &Sender::sendFaultGetFaultCountReq);
    sends("fault_get_faults { }", &Sender::sendFaultGetFaultsReq);
    sends("fault_clean_faults { }", &Sender::sendFaultCleanFaultsReq);
    sends("scope_data { value: -1 }", &Sender::sendScopeDataRequest, -1);
    QCOMPARE(int(members.size()), xcu::Command::descriptor()->oneof_decl(0)->field_count());
}

QTEST_GUILESS_MAIN(TestCommandsSender)
#include "tst_commandssender.moc"
