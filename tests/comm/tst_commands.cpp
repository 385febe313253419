// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "comm/frame.h"
#include "mockedtty.h"
#include "schema/link.pb.h"
#include "support/responserecorder.h"
#include "support/stdoutcapture.h"

#include <QtTest>
#include <google/protobuf/text_format.h>
#include <set>

namespace {

using Calls = std::vector<std::string>;

Calls callsFor(const std::string& payload)
{
    ResponseRecorder recorder;
    recorder.receiver().decodeResponse(payload);
    return recorder.calls;
}

// A response in protobuf's text form, and the call that it gives.
const std::pair<const char*, std::string> responses[] = {
    {"bootloader_value: 4294967295", "bootloaderValue 4294967295"},
    {"pong { value: 4275878400 }", "pongReceived 4275878400"},
    {"prompt {}", "promptReceived"},
    {"candump_started {}", "candumpStart"},
    {"candump_stopped {}", "candumpStop"},
    {"candump_frame { data: 'a\\377' bus: 2 timestamp: -3 id: 4 extended: true }",
     "candump 2 -3 4 1 0 0 <a\377>"},
    {"candump_frame { fd: true }", "candump 0 0 0 0 1 0 <>"},
    {"logger_started {}", "loggerStarted"},
    {"logger_stopped {}", "loggerStopped"},
    {"logger_data { values: [3, -1, 2] sample_number: 4294967295 timestamp: 8 }",
     "loggerDataReceived 4294967295 8 [3 -1 2]"},
    {"pid_tuner_started { value: 1 }", "pidTunerStart 1"},
    {"pid_tuner_set { value: 2 }", "pidTunerSetPid 2"},
    {"pid_tuner_pid { pid_id: 9 param_1: 1 param_2: -2 param_3: 3 param_4: 4 param_5: 5 }",
     "pidTunerGetPid 9 1 -2 3 4 5"},
    {"pid_tuner_reset_done { value: 3 }", "pidTunerReset 3"},
    {"map_tuner_started { map_count: 5 }", "mapTuningStart 5"},
    {"map_details { map_id: 1 x_size: 2 y_size: 3 }", "mapTuningMapDetails 1 2 3"},
    {"map_label { map_id: 1 axis: 1 label_id: 2 value: -7 result: 3 }",
     "mapTuningGetMapLabel 1 1 2 -7 3"},
    {"map_value_set { map_id: 1 x_id: 2 y_id: 3 result: 1 }", "mapTuningSetMapValue 1 2 3 1"},
    // What the PC does not know reads as something it knows, and not always as the first.
    {"map_value { map_id: 1 x_id: 2 y_id: 3 value: 4 result: 4 }",
     "mapTuningGetMapValue 1 2 3 4 2"},
    {"map_label_set { map_id: 1 axis: 1 label_id: 3 result: 2147483647 }",
     "mapTuningSetMapLabel 1 1 3 2"},
    {"map_label_set { axis: 2 result: -1 }", "mapTuningSetMapLabel 0 0 0 0"},
    {"map_data { map_id: 4 x_labels: [1, 2] y_labels: [3] values: [5, 6] }",
     "mapTuningMap 4 [1 2] [3] [5 6]"},
    {"map_last_get_value { map_id: 1 x_id: -2 y_id: -3 value: 4 }",
     "mapTuningGetLastGetValue 1 -2 -3 4"},
    {"configuration_written { result: 1 config_id: 6 }", "writeConfiguration 1 6"},
    {"configuration { data: 'x\\ny' result: 1 config_id: 6 }", "readConfiguration 1 6 <x\ny>"},
    {"configuration_erased { result: 2 config_id: 6 }", "eraseConfiguration 2 6"},
    {"calibration_written { result: 3 config_id: 7 }", "writeCalibration 3 7"},
    {"driver_calibration_started {}", "adaptationStart"},
    {"driver_calibration_status { status: 2 }", "adaptationStatus 0"},
    {"fault_count { first_count: 3 second_count: -4 }", "faultGetFaultCountResp 3 -4"},
    // The component stands before the fault number, and what is too large loses its top.
    {"fault_list { faults {} faults { type: 257 mode: 510 category: 65539 fault_id: 65540 "
     "component_id: 131077 } }",
     "faultGetFaultsResp [[0 0 0 0 0] [1 254 3 5 4]]"},
    {"faults_cleaned {}", "faultCleanFaultsResp"},
    {"scope_samples { samples: [9, 8] first_value: 1 second_value: 2 third_value: 3 }",
     "scopeDataReceived 1 2 3 [9 8]"},
};

} // namespace

class TestCommands : public QObject
{
    Q_OBJECT

private slots:
    void fillsEveryCommand()
    {
        MockedTty tty("XCU1");
        ComPort port;
        QVERIFY(port.open(tty.info()));
        CommandsSender sender(port);
        std::set<int> sentMembers;
        // What is expected is the member and the values of its fields in their order; a field whose
        // place in it could be another's keeps its name.
        const QRegularExpression fieldNames(R"((?!passive|extended|fd)\b\w+: |[{}])");
        const auto sends = [&](const char* expected, auto operation, auto&&... arguments) {
            (sender.*operation)(arguments...);
            QByteArray sent;
            QTRY_VERIFY((sent += tty.read()).size() > 4);
            xcu::Command command;
            const std::string payload = sent.mid(4).toStdString();
            QCOMPARE(sent.toStdString(), comm::makeFrame(payload)); // and nothing besides
            QVERIFY(command.ParseFromString(payload));
            sentMembers.insert(command.req_case());
            QCOMPARE(command.protocol_version(), 1U);
            command.clear_protocol_version();
            QString text = QString::fromStdString(command.ShortDebugString());
            QCOMPARE(text.remove(fieldNames).simplified(), expected);
        };
        using S = CommandsSender;
        constexpr auto Y = S::MapAxis::Y;
        const std::string bytes("\0\xff", 2);
        std::vector<unsigned int> channels{5, 0, 127};

        sends("reset_to_bootloader", &S::sendResetToBootloader);
        sends("rsa_public_key \"\\000\\377\"", &S::sendRsaPublicKey, bytes);
        sends("aes_key \"\\000\\377\"", &S::sendAesKey, bytes);
        sends("key_exchange \"\\000\\377\"", &S::sendKeyExchange, bytes);
        sends("command_data \"\\000\\377\"", &S::sendCommand, bytes);
        sends("ping 4275878400", &S::sendPing, 0xFEDCBA00);
        sends("module_public_key_request", &S::sendModuleKeyPublicKeyRequest);
        sends("reset", &S::sendReset);
        sends("get_device_id", &S::sendGetIds);
        sends("get_firmware_id", &S::sendGetFirmwareId);
        sends("datalogger_start 5 0 127 passive: 1", &S::sendLoggerStart, channels, true);
        sends("datalogger_data", &S::sendLoggerDataRequest);
        sends("datalogger_stop", &S::sendLoggerStop);
        sends("virtual_input_set 3 -4", &S::sendVirtualInputValue, 3, -4);
        sends("pid_tuner_start", &S::sendPidTunerStartReq);
        sends("pid_tuner_set_pid 9 1 -2 3 4 5", &S::sendPidTunerSetPidReq, 9, 1, -2, 3, 4, 5);
        sends("pid_tuner_get_pid 9", &S::sendPidTunerGetPidReq, 9);
        sends("pid_tuner_reset 9", &S::sendPidTunerResetReq, 9);
        sends("map_tuner_start", &S::sendMapTunerStartReq);
        sends("map_tuner_get_map_details 1", &S::sendMapTunerGetMapDetails, 1);
        sends(
            "map_tuner_set_map_label 1 MAP_AXIS_Y 2 -3", &S::sendMapTunerSetMapLabel, 1, Y, 2, -3);
        sends("map_tuner_get_map_label 1 MAP_AXIS_Y 2", &S::sendMapTunerGetMapLabel, 1, Y, 2);
        sends("map_tuner_get_map_label 1 2", &S::sendMapTunerGetMapLabel, 1, S::MapAxis(7), 2);
        sends("map_tuner_set_map_value 1 2 3 -4", &S::sendMapTunerSetMapValue, 1, 2, 3, -4);
        sends("map_tuner_get_map_value 1 2 3", &S::sendMapTunerGetMapValue, 1, 2, 3);
        sends("map_tuner_get_map 1", &S::sendMapTunerGetMap, 1);
        sends("map_tuner_get_last_get_value 1", &S::sendMapTunerGetLastGetValue, 1);
        sends("write_configuration \"\\000\\377\" 6", &S::sendConfigWriteReq, 6, bytes);
        sends("read_configuration 6", &S::sendConfigReadReq, 6);
        sends("erase_configuration 6", &S::sendConfigEraseReq, 6);
        sends("write_calibration \"\\000\\377\"", &S::sendCalibrationWriteReq, bytes);
        sends("driver_calibration_start", &S::sendAdaptationStart);
        sends("driver_calibration_status", &S::sendAdaptationStatus);
        sends("candump_start", &S::sendCandumpStart);
        sends("candump_stop", &S::sendCandumpStop);
        sends("can_setup_baudrate 1 500000 true 2", &S::sendCanSetupBaudrate, 1, 500000, true, 2);
        sends("can_setup_termination 1 true", &S::sendCanSetupTermination, 1, true);
        sends(
            "can_send_message \"\\000\\377\" 1 4294967295 extended: true", &S::sendCanSendMessage,
            1, 0xFFFFFFFF, bytes, true, false);
        sends(
            "can_send_message fd: true", &S::sendCanSendMessage, 0, 0, std::string(), false, true);
        sends("fault_get_fault_count", &S::sendFaultGetFaultCountReq);
        sends("fault_get_faults", &S::sendFaultGetFaultsReq);
        sends("fault_clean_faults", &S::sendFaultCleanFaultsReq);
        sends("scope_data -1", &S::sendScopeDataRequest, -1);
        const int known = xcu::Command::descriptor()->oneof_decl(0)->field_count();
        QCOMPARE(int(sentMembers.size()), known);
    }

    void everyResponseReachesItsOperation()
    {
        CommandsResponseReceiver nobody(
            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        std::set<int> seen;
        QByteArray traces; // of what nobody takes
        for (const auto& [text, call] : responses) {
            xcu::Response response;
            QVERIFY2(google::protobuf::TextFormat::ParseFromString(text, &response), text);
            seen.insert(response.resp_case());
            const std::string payload = response.SerializeAsString();
            QCOMPARE(callsFor(payload), Calls{call});
            traces += stdoutOf([&] { nobody.decodeResponse(payload); });
        }
        QCOMPARE(int(seen.size()), xcu::Response::descriptor()->oneof_decl(0)->field_count());
        ResponseRecorder late;
        nobody.setDataLoggerCommandsResponse(&late);
        traces += stdoutOf([&] { nobody.decodeResponse({"\xa2\x06\x00", 3}); }); // started
        QCOMPARE(
            traces, QByteArray("kLoggerStarted\nkLoggerStopped\nkLoggerData\nkLoggerStarted\n"));
        QCOMPARE(late.calls, Calls{"loggerStarted"});
        QCOMPARE(callsFor(""), Calls{});         // parses, and has no member
        QCOMPARE(callsFor("\x2a\x05"), Calls{}); // a prompt cut short
    }
};

QTEST_GUILESS_MAIN(TestCommands)
#include "tst_commands.moc"
