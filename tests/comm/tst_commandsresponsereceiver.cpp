// SPDX-License-Identifier: GPL-3.0-or-later
#include "schema/link.pb.h"
#include "support/responserecorder.h"
#include "support/stdoutcapture.h"

#include <QTest>
#include <google/protobuf/text_format.h>
#include <stdexcept>

namespace {

using Calls = std::vector<std::string>;

std::string payloadOf(const char* text)
{
    xcu::Response response;
    if (!google::protobuf::TextFormat::ParseFromString(text, &response)) {
        throw std::invalid_argument(text);
    }
    return response.SerializeAsString();
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
    void everyMemberReachesItsOperation_data();
    void everyMemberReachesItsOperation();
    void dropsWhatNobodyKnows();
    void nullDropsButLoggerMembersAreTraced();
    void exchangesTheLoggerInterface();
    void handlerMayThrow();
};

void TestCommandsResponseReceiver::everyMemberReachesItsOperation_data()
{
    QTest::addColumn<QByteArray>("call");
    const auto row = [](const char* response, const char* call) {
        QTest::newRow(response) << QByteArray(call);
    };
    row("bootloader_value: 4294967295", "bootloaderValue 4294967295");
    row("pong { value: 4275878400 }", "pongReceived 4275878400");
    row("prompt {}", "promptReceived");
    row("candump_started {}", "candumpStart");
    row("candump_stopped {}", "candumpStop");
    row("candump_frame { data: 'a\\377' bus: 2 timestamp: -3 id: 4 extended: true }",
        "candump 2 -3 4 1 0 0 <a\377>");
    row("candump_frame { fd: true }", "candump 0 0 0 0 1 0 <>");
    row("candump_frame { brs: true }", "candump 0 0 0 0 0 1 <>");
    row("logger_started {}", "loggerStarted");
    row("logger_stopped {}", "loggerStopped");
    row("logger_data { values: [3, -1, 2] sample_number: 4294967295 timestamp: 8 }",
        "loggerDataReceived 4294967295 8 [3 -1 2]");
    row("logger_data {}", "loggerDataReceived 0 0 []");
    row("pid_tuner_started { value: 1 }", "pidTunerStart 1");
    row("pid_tuner_set { value: 2 }", "pidTunerSetPid 2");
    row("pid_tuner_pid { pid_id: 9 param_1: 1 param_2: -2 param_3: 3 param_4: 4 param_5: 5 }",
        "pidTunerGetPid 9 1 -2 3 4 5");
    row("pid_tuner_reset_done { value: 3 }", "pidTunerReset 3");
    row("map_tuner_started { map_count: 5 }", "mapTuningStart 5");
    row("map_details { map_id: 1 x_size: 2 y_size: 3 }", "mapTuningMapDetails 1 2 3");
    row("map_label_set { map_id: 1 axis: MAP_AXIS_Y label_id: 2 result: MAP_COMMAND_RESULT_3 }",
        "mapTuningSetMapLabel 1 1 2 3");
    row("map_label { map_id: 1 axis: MAP_AXIS_Y label_id: 2 value: -7 }",
        "mapTuningGetMapLabel 1 1 2 -7 0");
    row("map_value_set { map_id: 1 x_id: 2 y_id: 3 result: MAP_COMMAND_RESULT_1 }",
        "mapTuningSetMapValue 1 2 3 1");
    row("map_value { map_id: 1 x_id: 2 y_id: 3 value: 4 result: MAP_COMMAND_RESULT_2 }",
        "mapTuningGetMapValue 1 2 3 4 2");
    row("map_data { map_id: 4 x_labels: [1, 2] y_labels: [3] values: [5, 6] }",
        "mapTuningMap 4 [1 2] [3] [5 6]");
    row("map_last_get_value { map_id: 1 x_id: -2 y_id: -3 value: 4 }",
        "mapTuningGetLastGetValue 1 -2 -3 4");
    row("configuration_written { result: 1 config_id: 6 }", "writeConfiguration 1 6");
    row("configuration { data: 'x\\ny' result: 1 config_id: 6 }", "readConfiguration 1 6 <x\ny>");
    row("configuration_erased { result: 2 config_id: 6 }", "eraseConfiguration 2 6");
    row("calibration_written { result: 3 config_id: 7 }", "writeCalibration 3 7");
    row("driver_calibration_started {}", "adaptationStart");
    row("driver_calibration_status { status: ADAPTATION_BUSY }", "adaptationStatus 1");
    row("fault_count { first_count: 3 second_count: -4 }", "faultGetFaultCountResp 3 -4");
    row("fault_list { faults { type: 1 mode: 2 category: 3 fault_id: 4 component_id: 5 } }",
        "faultGetFaultsResp [[1 2 3 5 4]]"); // the component stands before the fault number
    row("fault_list {}", "faultGetFaultsResp []");
    row("fault_list { faults { type: 257 mode: 4294967295 category: 65537 fault_id: 65536 "
        "component_id: 131071 } faults {} }",
        "faultGetFaultsResp [[1 255 1 65535 0] [0 0 0 0 0]]");
    // What the PC does not know reads as something it knows, and not always as the first value.
    row("map_value { result: 4 }", "mapTuningGetMapValue 0 0 0 0 2");
    row("map_label_set { result: 2147483647 }", "mapTuningSetMapLabel 0 0 0 2");
    row("map_value_set { result: -1 }", "mapTuningSetMapValue 0 0 0 0");
    row("map_label { axis: 2 }", "mapTuningGetMapLabel 0 0 0 0 0");
    row("map_label_set { axis: -1 }", "mapTuningSetMapLabel 0 0 0 0");
    row("driver_calibration_status { status: 2 }", "adaptationStatus 0");
    row("faults_cleaned {}", "faultCleanFaultsResp");
    row("scope_samples { samples: [9, 8] first_value: 1 second_value: 2 third_value: 3 }",
        "scopeDataReceived 1 2 3 [9 8]");
}

void TestCommandsResponseReceiver::everyMemberReachesItsOperation()
{
    QFETCH(QByteArray, call);
    QCOMPARE(callsFor(payloadOf(QTest::currentDataTag())), Calls{call.toStdString()});
}

void TestCommandsResponseReceiver::dropsWhatNobodyKnows()
{
    const std::string payloads[] = {
        "",                      // parses, and has no member
        "\x08\x01",              // the version alone
        {"\x12\x00", 2},         // member 2
        {"\x32\x00", 2},         // member 6, within the range of the known ones
        {"\xea\x0d\x00", 3},     // member 221
        "\x2a\x05",              // a prompt cut short
        {"\x2a\x00\xff\xff", 4}, // a prompt, and noise behind it
    };
    for (const std::string& payload : payloads) {
        QCOMPARE(callsFor(payload), Calls{});
    }
}

void TestCommandsResponseReceiver::nullDropsButLoggerMembersAreTraced()
{
    CommandsResponseReceiver deaf(
        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    const auto* members = xcu::Response::descriptor()->oneof_decl(0);
    const QByteArray traces = stdoutOf([&] {
        for (int i = 0; i < members->field_count(); ++i) {
            const int number = members->field(i)->number();
            if (number != xcu::Response::kBootloaderValue) {
                // The tag of a message of that number, and its length 0.
                const int tag = number << 3 | 2;
                deaf.decodeResponse(
                    tag < 128 ? std::string{char(tag), '\0'}
                              : std::string{char(tag | 0x80), char(tag >> 7), '\0'});
            }
        }
        deaf.decodeResponse(payloadOf("bootloader_value: 1"));
    });
    QCOMPARE(traces, QByteArray("kLoggerStarted\nkLoggerStopped\nkLoggerData\n"));
}

void TestCommandsResponseReceiver::exchangesTheLoggerInterface()
{
    ResponseRecorder first;
    ResponseRecorder second;
    CommandsResponseReceiver receiver = first.receiver();
    receiver.setDataLoggerCommandsResponse(&second);
    receiver.decodeResponse(payloadOf("logger_started {}"));
    QCOMPARE(first.calls, Calls{});
    QCOMPARE(second.calls, Calls{"loggerStarted"});
}

void TestCommandsResponseReceiver::handlerMayThrow()
{
    struct Thrower : ResponseRecorder
    {
        void promptReceived() override { throw std::runtime_error("handler"); }
    } thrower;
    CommandsResponseReceiver receiver = thrower.receiver();
    QVERIFY_EXCEPTION_THROWN(receiver.decodeResponse(payloadOf("prompt {}")), std::runtime_error);
    receiver.decodeResponse(payloadOf("pong { value: 1 }"));
    QCOMPARE(thrower.calls, Calls{"pongReceived 1"});
}

QTEST_GUILESS_MAIN(TestCommandsResponseReceiver)
#include "tst_commandsresponsereceiver.moc"
