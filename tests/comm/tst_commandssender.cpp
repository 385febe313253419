// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "comm/frame.h"
#include "mockedtty.h"
#include "schema/link.pb.h"

#include <QRegularExpression>
#include <QTest>
#include <set>

class TestCommandsSender : public QObject
{
    Q_OBJECT

private slots:
    void fillsEveryCommand()
    {
        using Axis = CommandsSender::MapAxis;
        MockedTty tty("XCU1");
        ComPort port;
        QVERIFY(port.open(tty.info()));
        CommandsSender sender(port);
        std::set<int> members;
        // What is expected is the member and the values of its fields in their order; a field whose
        // place in it could be another's keeps its name.
        const QRegularExpression fieldNames(R"((?!passive|extended|fd)\b\w+: )");
        const auto sends = [&](const char* expected, auto operation, auto&&... arguments) {
            (sender.*operation)(arguments...);
            QByteArray sent;
            QTRY_VERIFY((sent += tty.read()).size() > 4);
            xcu::Command command;
            const std::string payload = sent.mid(4).toStdString();
            QCOMPARE(sent.toStdString(), comm::makeFrame(payload)); // and nothing besides
            QVERIFY(command.ParseFromString(payload));
            members.insert(command.req_case());
            QCOMPARE(command.protocol_version(), 1U);
            command.clear_protocol_version();
            QString text = QString::fromStdString(command.ShortDebugString());
            QCOMPARE(text.remove(fieldNames).remove('{').remove('}').simplified(), expected);
        };
        using S = CommandsSender;
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
            "map_tuner_set_map_label 1 MAP_AXIS_Y 2 -3", &S::sendMapTunerSetMapLabel, 1, Axis::Y, 2,
            -3);
        sends("map_tuner_get_map_label 1 MAP_AXIS_Y 2", &S::sendMapTunerGetMapLabel, 1, Axis::Y, 2);
        sends(
            "map_tuner_get_map_label 1 2", &S::sendMapTunerGetMapLabel, 1, static_cast<Axis>(7), 2);
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
        QCOMPARE(int(members.size()), xcu::Command::descriptor()->oneof_decl(0)->field_count());
    }
};

QTEST_GUILESS_MAIN(TestCommandsSender)
#include "tst_commandssender.moc"
