// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/virtualcontroller.h"

#include <QtTest>
#include <google/protobuf/text_format.h>

using namespace simulator;

namespace {

// What a controller sent, put together again.
class Listener
{
public:
    explicit Listener(VirtualController& controller)
    {
        QObject::connect(
            &controller, &VirtualController::transmit, [this](const QByteArray& bytes) {
                chunks.push_back(bytes);
                reader.append(bytes);
                std::string payload;
                while (reader.next(payload)) {
                    xcu::Response response;
                    if (response.ParseFromString(payload)) {
                        responses.push_back(response);
                    } else {
                        ++broken;
                    }
                }
            });
    }

    // All responses so far as text, without the version.
    QString text() const
    {
        QStringList texts;
        for (xcu::Response response : responses) {
            response.clear_protocol_version();
            texts += QString::fromStdString(response.ShortDebugString());
        }
        return texts.join(QStringLiteral("; "));
    }

    std::vector<QByteArray> chunks;
    std::vector<xcu::Response> responses;
    int broken = 0;

private:
    FrameReader reader;
};

QByteArray commandFrame(const char* text)
{
    xcu::Command command;
    if (!google::protobuf::TextFormat::ParseFromString(text, &command)) {
        qFatal("bad command in a test: %s", text);
    }
    QByteArray frame;
    appendFrame(frame, command);
    return frame;
}

QByteArray pings(int count)
{
    QByteArray line;
    for (int i = 1; i <= count; ++i) {
        line += commandFrame(qPrintable(QStringLiteral("ping { value: %1 }").arg(i)));
    }
    return line;
}

// Time enough for whatever pushes as fast as it can.
void turnEventLoop()
{
    for (int i = 0; i < 10; ++i) {
        QCoreApplication::processEvents();
    }
}

ControllerOptions smallController()
{
    ControllerOptions options;
    options.maps = {{2, 3}};
    options.calibrationMs = 0;
    options.faults.resize(3);
    options.faults[1].set_type(1);
    options.startTimeMs = 5000;
    return options;
}

} // namespace

class TestVirtualController : public QObject
{
    Q_OBJECT

private slots:
    void answersCommands()
    {
        const std::pair<const char*, const char*> talk[] = {
            {"ping { }", "pong { }"}, // zero is an answer too
            {"", ""},
            {"datalogger_start { channels: [22, 200, 20] }", "logger_started { }"},
            {"virtual_input_set { index: 0 value: 5 }", ""},
            {"virtual_input_set { index: 2 value: -1 }", ""},
            {"virtual_input_set { index: 12 value: 8 }", ""},
            {"datalogger_data { }", "logger_data { values: -1 values: 5 timestamp: 5042 }"},
            {"datalogger_data { }",
             "logger_data { values: -1 values: 5 sample_number: 1 timestamp: 5042 }"},
            {"datalogger_stop { }", "logger_stopped { }"},
            {"datalogger_data { }", ""},                         // no session, no record
            {"can_send_message { bus: 1 id: 9 data: 'a' }", ""}, // looped back only while capturing
            {"candump_start { }", "candump_started { }"},
            {"can_send_message { bus: 2 id: 536870911 extended: true fd: true data: '\\000\\377' }",
             "candump_frame { data: \"\\000\\377\" bus: 2 timestamp: 5042 id: 536870911 extended: "
             "true "
             "fd: true }"},
            {"map_tuner_set_map_value { x_id: 1 y_id: 2 value: -2147483648 }",
             "map_value_set { x_id: 1 y_id: 2 }"},
            {"map_tuner_set_map_label { axis: 1 label_id: 2 value: -7 }",
             "map_label_set { axis: MAP_AXIS_Y label_id: 2 }"},
            {"map_tuner_set_map_value { x_id: 2 }",
             "map_value_set { x_id: 2 result: MAP_COMMAND_RESULT_2 }"},
            {"map_tuner_set_map_value { y_id: 3 }",
             "map_value_set { y_id: 3 result: MAP_COMMAND_RESULT_2 }"},
            {"map_tuner_set_map_label { map_id: 1 }",
             "map_label_set { map_id: 1 result: MAP_COMMAND_RESULT_1 }"},
            {"map_tuner_get_map_details { }", "map_details { x_size: 2 y_size: 3 }"},
            {"map_tuner_get_map { }",
             "map_data { x_labels: 10 x_labels: 20 y_labels: 7 y_labels: 8 y_labels: -7 values: 0 "
             "values: 1 values: 2 values: 3 values: 4 values: -2147483648 }"},
            {"map_tuner_get_map { map_id: 1 }", "map_data { map_id: 1 }"},
            {"read_configuration { config_id: 3 }",
             "configuration { data: \"\\377\\377\\377\\377\" config_id: 3 }"},
            {"fault_get_fault_count { }", "fault_count { first_count: 2 second_count: 1 }"},
            {"fault_get_faults { }", "fault_list { faults { } faults { type: 1 } faults { } }"},
            {"scope_data { }", ""},
        };
        VirtualController controller(smallController());
        controller.setClock([] { return 42; });
        *controller.maps().map(0) = {{10, 20}, {7, 8, 9}, {0, 1, 2, 3, 4, 5}};
        Listener listener(controller);
        for (const auto& [command, answer] : talk) {
            listener.responses.clear();
            controller.receive(commandFrame(command));
            QCOMPARE(listener.text(), answer);
        }
        QCOMPARE(controller.received().size(), std::size(talk));
    }

    void badFramesDoNoHarm()
    {
        VirtualController controller;
        Listener listener(controller);
        controller.receive(QByteArray("\x08\0\0\0\x07garbage", 12) + pings(1));
        QCOMPARE(listener.text(), "pong { value: 1 }");
        QCOMPARE(controller.brokenPayloads(), 1U);

        // Half a frame is forgotten with its link.
        controller.receive(pings(1).left(5));
        controller.dropLink();
        controller.receive(pings(1));
        QCOMPARE(listener.responses.size(), 2U);
    }

    void framesSurviveEveryCut()
    {
        const QByteArray line = pings(2);
        for (int cut = 0; cut <= line.size(); ++cut) {
            VirtualController controller;
            Listener listener(controller);
            controller.receive(line.left(cut));
            controller.receive(line.mid(cut));
            QCOMPARE(listener.text(), "pong { value: 1 }; pong { value: 2 }");
        }
    }

    void troubleHitsEveryNth()
    {
        struct
        {
            Trouble trouble;
            QVector<int> pongs;
            int broken;
        } const rows[] = {
            {{0, 2}, {1, 3}, 0},
            {{0, 0, 3}, {1, 2, 3, 3, 4}, 0},
            {{0, 0, 0, 1}, {1, 2, 3, 4}, 4},  // garbage loses nothing
            {{0, 2, 1, 4}, {1, 1, 3, 3}, 1}}; // dropped ones are not doubled
        for (const auto& row : rows) {
            ControllerOptions options;
            options.trouble = row.trouble;
            VirtualController controller(options);
            Listener listener(controller);
            controller.receive(pings(4));
            QVector<int> values;
            for (const xcu::Response& response : listener.responses) {
                values += static_cast<int>(response.pong().value());
            }
            QCOMPARE(values, row.pongs);
            QCOMPARE(listener.broken, row.broken);
            QCOMPARE(controller.responsesSent(), static_cast<quint64>(row.pongs.size()));
        }
    }

    void splitCutsHeadersAndPayloads()
    {
        VirtualController controller;
        Trouble trouble;
        trouble.split = true;
        controller.setTrouble(trouble);
        Listener listener(controller);
        const int frameSize = pings(1).size() + 2; // the version comes on top
        controller.receive(pings(100));
        QTRY_COMPARE(listener.responses.size(), 100U);
        const auto isCut = [&](const QByteArray& chunk) { return chunk.size() % frameSize != 0; };
        QVERIFY(std::any_of(listener.chunks.begin(), listener.chunks.end(), isCut));
    }

    void delayKeepsTheOrder()
    {
        VirtualController controller;
        Trouble trouble;
        trouble.delayMs = 20;
        controller.setTrouble(trouble);
        Listener listener(controller);
        controller.receive(pings(1));
        controller.setTrouble({});
        controller.receive(commandFrame("ping { value: 2 }")); // must not overtake
        QVERIFY(listener.responses.empty());
        QTRY_COMPARE(listener.text(), "pong { value: 1 }; pong { value: 2 }");
    }

    void passiveSessionPushesOnlyWhileTheLineIsReady()
    {
        VirtualController controller;
        Listener listener(controller);
        controller.setRecordRate(asFastAsTheLineTakes);
        controller.setLineReady(false);
        controller.receive(commandFrame("datalogger_start { channels: [0, 1] passive: 1 }"));
        turnEventLoop();
        QCOMPARE(controller.recordsSent(), 0U);
        controller.receive(commandFrame("datalogger_data { }")); // asking is allowed all the same
        QCOMPARE(controller.recordsSent(), 1U);
        controller.setLineReady(true);
        QTRY_VERIFY(controller.recordsSent() > 500);
        controller.receive(commandFrame("datalogger_stop { }"));
        const quint64 total = controller.recordsSent();
        turnEventLoop();

        QCOMPARE(static_cast<quint64>(listener.responses.size()), total + 2);
        for (quint64 i = 0; i < total; ++i) {
            QCOMPARE(quint64(listener.responses[i + 1].logger_data().sample_number()), i);
        }
    }

    void restartBeginsAnew()
    {
        VirtualController controller(smallController());
        Listener listener(controller);
        connect(
            &controller, &VirtualController::leavingBus, &controller, &VirtualController::restart);
        controller.receive(
            commandFrame("datalogger_start { }") + commandFrame("datalogger_data { }"));
        controller.receive(commandFrame("map_tuner_set_map_value { value: 77 }"));
        controller.receive(commandFrame("reset_to_bootloader { }"));
        QCOMPARE(controller.guise(), Guise::Bootloader);
        listener.responses.clear();
        controller.receive(commandFrame("fault_get_faults { }") + pings(1));
        QCOMPARE(listener.text(), "pong { value: 1 }");

        controller.receive(commandFrame("reset { }"));
        QCOMPARE(controller.guise(), Guise::Device);
        QVERIFY(!controller.logger().isRunning());
        QCOMPARE(controller.maps().map(0)->values[0], 77);
        controller.receive(
            commandFrame("datalogger_start { }") + commandFrame("datalogger_data { }"));
        QCOMPARE(listener.responses.back().logger_data().sample_number(), 0U);
    }
};

QTEST_GUILESS_MAIN(TestVirtualController)
#include "tst_virtualcontroller.moc"
