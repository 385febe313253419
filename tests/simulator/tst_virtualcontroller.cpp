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

    // All responses since the last call as text, without the version.
    QString text()
    {
        QStringList texts;
        for (xcu::Response response : std::exchange(responses, {})) {
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

} // namespace

class TestVirtualController : public QObject
{
    Q_OBJECT

private slots:
    void framesSurviveEveryCut()
    {
        const QByteArray line = pings(1) + QByteArray("\x08\0\0\0\x07garbage", 12) + pings(1);
        for (int cut = 0; cut <= line.size(); ++cut) {
            VirtualController controller;
            Listener listener(controller);
            controller.receive(line.left(cut));
            controller.receive(line.mid(cut));
            QCOMPARE(listener.text(), "pong { value: 1 }; pong { value: 1 }");
            QCOMPARE(controller.brokenPayloads(), 1U);
            controller.receive(pings(1).left(5));
            controller.dropLink(); // half a frame is forgotten with its link
            controller.receive(pings(1));
            QCOMPARE(listener.text(), "pong { value: 1 }");
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
            VirtualController controller;
            controller.setTrouble(row.trouble);
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

    void splitAndDelayKeepTheOrder()
    {
        VirtualController controller;
        Listener listener(controller);
        controller.setTrouble({20});
        controller.receive(pings(1));
        Trouble split;
        split.split = 1;
        controller.setTrouble(split);
        controller.receive(pings(100)); // must not overtake
        QVERIFY(listener.responses.empty());
        QTRY_COMPARE(listener.responses.size(), 101U);
        QCOMPARE(listener.responses[0].pong().value(), 1U);
        QCOMPARE(listener.responses[100].pong().value(), 100U);
        const int frameSize = pings(1).size() + 2; // the version comes on top
        const auto isCut = [&](const QByteArray& chunk) { return chunk.size() % frameSize != 0; };
        QVERIFY(std::any_of(listener.chunks.begin(), listener.chunks.end(), isCut));
    }

    void passiveSessionPushesOnlyWhileTheLineIsReady()
    {
        VirtualController controller;
        controller.setRecordRate(asFastAsTheLineTakes);
        controller.setLineReady(false);
        controller.receive(commandFrame("datalogger_start { passive: 1 }"));
        for (int turn = 0; turn < 10; ++turn) {
            QCoreApplication::processEvents();
        }
        QCOMPARE(controller.recordsSent(), 0U);
        controller.setLineReady(true);
        QTRY_VERIFY(controller.recordsSent() > 500);
    }

    void restartBeginsAnew()
    {
        VirtualController controller;
        Listener listener(controller);
        connect(
            &controller, &VirtualController::leavingBus, &controller, &VirtualController::restart);
        controller.receive(commandFrame("datalogger_start { }"));
        controller.receive(commandFrame("datalogger_data { }"));
        controller.receive(commandFrame("map_tuner_set_map_value { value: 77 }"));
        controller.receive(commandFrame("reset_to_bootloader { }"));
        listener.text();
        controller.receive(commandFrame("fault_get_faults { }") + pings(1));
        QCOMPARE(listener.text(), "pong { value: 1 }"); // a bootloader knows little
        controller.receive(commandFrame("reset { }"));
        QVERIFY(!controller.logger().isRunning());
        QCOMPARE(controller.maps().map(0)->values[0], 77);
        controller.receive(commandFrame("datalogger_start { }"));
        controller.receive(commandFrame("datalogger_data { }"));
        QCOMPARE(listener.responses.back().logger_data().sample_number(), 0U);
    }
};

QTEST_GUILESS_MAIN(TestVirtualController)
#include "tst_virtualcontroller.moc"
