// SPDX-License-Identifier: GPL-3.0-or-later
#include "schema/link.pb.h"
#include "support/responserecorder.h"
#include "support/stdoutcapture.h"

#include <QTest>
#include <google/protobuf/text_format.h>
#include <set>

namespace {

using Calls = std::vector<std::string>;

const google::protobuf::OneofDescriptor& members()
{
    return *xcu::Response::descriptor()->oneof_decl(0);
}

Calls callsFor(const std::string& payload)
{
    ResponseRecorder recorder;
    recorder.receiver().decodeResponse(payload);
    return recorder.calls;
}

} // namespace

class TestCommandsResponseReceiver : public QObject
{
    Q_OBJECT

private slots:
    void everyMemberReachesItsOperation()
    {
        struct
        {
            const char* response;
            std::string call;
        } const rows[] = {
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
            {"map_label_set { map_id: 1 axis: 1 label_id: 2 result: 3 }",
             "mapTuningSetMapLabel 1 1 2 3"},
            {"map_label { map_id: 1 axis: 1 label_id: 2 value: -7 result: 3 }",
             "mapTuningGetMapLabel 1 1 2 -7 3"},
            {"map_value_set { map_id: 1 x_id: 2 y_id: 3 result: 1 }",
             "mapTuningSetMapValue 1 2 3 1"},
            // What the PC does not know reads as something it knows, and not always as the first.
            {"map_value { map_id: 1 x_id: 2 y_id: 3 value: 4 result: 4 }",
             "mapTuningGetMapValue 1 2 3 4 2"},
            {"map_label_set { axis: 2 result: 2147483647 }", "mapTuningSetMapLabel 0 0 0 2"},
            {"map_label_set { axis: -1 result: -1 }", "mapTuningSetMapLabel 0 0 0 0"},
            {"map_data { map_id: 4 x_labels: [1, 2] y_labels: [3] values: [5, 6] }",
             "mapTuningMap 4 [1 2] [3] [5 6]"},
            {"map_last_get_value { map_id: 1 x_id: -2 y_id: -3 value: 4 }",
             "mapTuningGetLastGetValue 1 -2 -3 4"},
            {"configuration_written { result: 1 config_id: 6 }", "writeConfiguration 1 6"},
            {"configuration { data: 'x\\ny' result: 1 config_id: 6 }",
             "readConfiguration 1 6 <x\ny>"},
            {"configuration_erased { result: 2 config_id: 6 }", "eraseConfiguration 2 6"},
            {"calibration_written { result: 3 config_id: 7 }", "writeCalibration 3 7"},
            {"driver_calibration_started {}", "adaptationStart"},
            {"driver_calibration_status { status: 1 }", "adaptationStatus 1"},
            {"driver_calibration_status { status: 2 }", "adaptationStatus 0"},
            {"fault_count { first_count: 3 second_count: -4 }", "faultGetFaultCountResp 3 -4"},
            // The component stands before the fault number, and what is too large loses its top.
            {"fault_list { faults { type: 1 mode: 2 category: 3 fault_id: 4 component_id: 5 } "
             "faults "
             "{ type: 257 mode: 4294967295 category: 65537 fault_id: 65536 component_id: 131071 } "
             "}",
             "faultGetFaultsResp [[1 2 3 5 4] [1 255 1 65535 0]]"},
            {"faults_cleaned {}", "faultCleanFaultsResp"},
            {"scope_samples { samples: [9, 8] first_value: 1 second_value: 2 third_value: 3 }",
             "scopeDataReceived 1 2 3 [9 8]"},
        };
        std::set<int> seen;
        for (const auto& [text, call] : rows) {
            xcu::Response response;
            QVERIFY2(google::protobuf::TextFormat::ParseFromString(text, &response), text);
            seen.insert(response.resp_case());
            QCOMPARE(callsFor(response.SerializeAsString()), Calls{call});
        }
        QCOMPARE(int(seen.size()), members().field_count());
    }

    void dropsWhatNobodyKnows()
    {
        const std::string payloads[] = {
            "",                      // parses, and has no member
            {"\x32\x00", 2},         // member 6, within the range of the known ones
            {"\xea\x0d\x00", 3},     // member 221
            "\x2a\x05",              // a prompt cut short
            {"\x2a\x00\xff\xff", 4}, // a prompt, and noise behind it
        };
        for (const std::string& payload : payloads) {
            QCOMPARE(callsFor(payload), Calls{});
        }
    }

    void nullDropsButLoggerMembersAreTraced()
    {
        ResponseRecorder late;
        CommandsResponseReceiver receiver(
            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        const QByteArray traces = stdoutOf([&] {
            for (int i = 0; i < members().field_count(); ++i) {
                xcu::Response response;
                if (members().field(i)->message_type()) {
                    response.GetReflection()->MutableMessage(&response, members().field(i));
                } else {
                    response.set_bootloader_value(1);
                }
                receiver.decodeResponse(response.SerializeAsString());
            }
            receiver.setDataLoggerCommandsResponse(&late);
            receiver.decodeResponse({"\xa2\x06\x00", 3}); // the logger started
        });
        QCOMPARE(
            traces, QByteArray("kLoggerStarted\nkLoggerStopped\nkLoggerData\nkLoggerStarted\n"));
        QCOMPARE(late.calls, Calls{"loggerStarted"});
    }
};

QTEST_GUILESS_MAIN(TestCommandsResponseReceiver)
#include "tst_commandsresponsereceiver.moc"
