// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/portrig.h"

#include <QSerialPort>
#include <QSerialPortInfo>
#include <QSignalSpy>
#include <QtTest>
#include <fcntl.h>
#include <google/protobuf/text_format.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace simulator;

namespace {

QByteArray commands(const QByteArray& text)
{
    xcu::Command command;
    if (!google::protobuf::TextFormat::ParseFromString(text.toStdString(), &command)) {
        qFatal("bad command in a test: %s", text.constData());
    }
    QByteArray frame;
    appendFrame(frame, command);
    return frame;
}

template <typename... Texts>
QByteArray commands(const QByteArray& text, const Texts&... others)
{
    return commands(text) + commands(others...);
}

QByteArray pings(int count)
{
    QByteArray line;
    for (int i = 1; i <= count; ++i) {
        line += commands("ping { value: " + QByteArray::number(i) + " }");
    }
    return line;
}

// What a controller sent, put together again.
struct Responses
{
    void add(const QByteArray& bytes)
    {
        pieces.push_back(bytes.size());
        reader.append(bytes);
        for (std::string payload; reader.next(payload);) {
            xcu::Response response;
            if (response.ParseFromString(payload)) {
                response.clear_protocol_version();
                texts += QString::fromStdString(response.ShortDebugString());
            } else {
                ++broken;
            }
        }
    }

    std::vector<int> pieces; // their sizes, as they came
    QStringList texts;
    int broken = 0; // payloads that are no message

private:
    FrameReader reader;
};

// A controller without a port.
struct Unit : VirtualController
{
    Unit()
    {
        connect(this, &VirtualController::transmit, [this](auto& bytes) { sent.add(bytes); });
        connect(this, &VirtualController::leavingBus, this, &VirtualController::restart);
    }
    QString answersTo(const QByteArray& line)
    {
        sent = {};
        receive(line);
        return sent.texts.join("; ");
    }

    Responses sent;
};

// A program that has a port open.
struct Program
{
    explicit Program(const QString& portName)
        : serial(QSerialPortInfo(portName))
    {
        QObject::connect(&serial, &QSerialPort::readyRead, [this] { got.add(serial.readAll()); });
        serial.open(QIODevice::ReadWrite);
    }
    void send(const QByteArray& line)
    {
        serial.write(line);
        serial.flush();
    }

    QSerialPort serial;
    Responses got;
};

} // namespace

class TestVirtualController : public QObject
{
    Q_OBJECT

private slots:
    void framesSurviveEveryCut()
    {
        const QByteArray line = pings(1) + QByteArray("\x08\0\0\0\x07garbage", 12) + pings(1);
        for (int cut = 0; cut <= line.size(); ++cut) {
            Unit unit;
            unit.receive(line.left(cut));
            unit.receive(line.mid(cut));
            QCOMPARE(unit.sent.texts.join("; "), "pong { value: 1 }; pong { value: 1 }");
            QCOMPARE(unit.brokenPayloads(), 1U);
            unit.receive(pings(1).left(5));
            unit.dropLink(); // half a frame is forgotten with its link
            QCOMPARE(unit.answersTo(pings(1)), "pong { value: 1 }");
        }
    }

    void linkFaultsHitEveryNth()
    {
        struct
        {
            LinkFaults faults;
            QVector<int> pongs;
            int broken;
        } const rows[] = {
            {{0, 2}, {1, 3}, 0},
            {{0, 0, 3}, {1, 2, 3, 3, 4}, 0},
            {{0, 0, 0, 1}, {1, 2, 3, 4}, 4},  // garbage loses nothing
            {{0, 2, 1, 4}, {1, 1, 3, 3}, 1}}; // dropped ones are not doubled
        for (const auto& row : rows) {
            Unit unit;
            unit.setLinkFaults(row.faults);
            QStringList pongs;
            for (const int value : row.pongs) {
                pongs += QStringLiteral("pong { value: %1 }").arg(value);
            }
            QCOMPARE(unit.answersTo(pings(4)), pongs.join("; "));
            QCOMPARE(unit.sent.broken, row.broken);
            QCOMPARE(unit.responsesSent(), static_cast<quint64>(row.pongs.size()));
        }
    }

    void splitAndDelayKeepTheOrder()
    {
        Unit unit;
        unit.setLinkFaults({20});
        unit.receive(pings(1));
        unit.setLinkFaults({0, 0, 0, 0, 1});
        unit.receive(pings(100)); // must not overtake
        QVERIFY(unit.sent.texts.empty());
        QTRY_COMPARE(unit.sent.texts.size(), 101);
        QCOMPARE(unit.sent.texts[0], "pong { value: 1 }");
        QCOMPARE(unit.sent.texts[100], "pong { value: 100 }");
        const int frameSize = pings(1).size() + 2; // the version comes on top
        const auto& pieces = unit.sent.pieces;
        const auto isCut = [&](int size) { return size % frameSize != 0; };
        QVERIFY(std::any_of(pieces.begin(), pieces.end(), isCut));
    }

    void passiveSessionPushesOnlyWhileTheLineIsReady()
    {
        Unit unit;
        unit.setRecordRate(asFastAsTheLineTakes);
        unit.setLineReady(false);
        unit.receive(commands("datalogger_start { passive: 1 }"));
        for (int turn = 0; turn < 10; ++turn) {
            QCoreApplication::processEvents();
        }
        QCOMPARE(unit.recordsSent(), 0U);
        unit.setLineReady(true);
        QTRY_VERIFY(unit.recordsSent() > 500);
    }

    void restartBeginsAnew()
    {
        Unit unit;
        const QByteArray record = commands("datalogger_start { }", "datalogger_data { }");
        unit.receive(record + commands("map_tuner_set_map_value { value: 77 }"));
        unit.receive(commands("reset_to_bootloader { }"));
        QCOMPARE(unit.answersTo(commands("fault_get_faults { }") + pings(1)), "pong { value: 1 }");
        unit.receive(commands("reset { }"));
        QVERIFY(!unit.logger().isRunning());
        QCOMPARE(unit.maps().map(0)->values[0], 77);
        QVERIFY(!unit.answersTo(record).contains("sample_number")); // it is 0
    }

    void nobodyFindsBytesOfAnother()
    {
        QByteArray start = "datalogger_start { passive: 1 channels: [0";
        for (int channel = 1; channel < 128; ++channel) {
            start += ", " + QByteArray::number(channel);
        }
        for (const bool noticed : {true, false}) {
            PortRig rig;
            rig.plug();
            rig.controller().setRecordRate(asFastAsTheLineTakes);
            {
                Program first(rig.portName());
                first.send(commands(start + "] }") + pings(1).left(3)); // and then it crashes
                QTRY_VERIFY(first.got.texts.size() > 1000);
            }
            if (noticed) { // before the second one came
                QTRY_VERIFY(!rig.port().isInUse());
                rig.controller().pushRecord(); // for nobody
            }
            Program second(rig.portName());
            second.send(pings(1));
            QTRY_VERIFY(second.got.texts.contains("pong { value: 1 }"));
            QCOMPARE(second.got.broken, 0);
            QVERIFY(rig.port().isInUse());
        }
    }

    void nobodyFindsTheMarkOfADeadProgram()
    {
        PortRig rig;
        rig.plug();
        QSignalSpy opened(&rig.port(), &MockedPort::opened);
        QSignalSpy closed(&rig.port(), &MockedPort::closed);
        const QByteArray node = "/dev/" + rig.portName().toLatin1();
        // What the system does to a killed program: its descriptor goes, its exclusive mark stays.
        const int dead = ::open(node.constData(), O_RDWR | O_NOCTTY);
        QCOMPARE(::ioctl(dead, TIOCEXCL), 0);
        QTRY_COMPARE(opened.size(), 1);
        ::close(dead);
        QTRY_COMPARE(closed.size(), 1);

        const int next = ::open(node.constData(), O_RDWR | O_NOCTTY);
        int exclusive = -1;
        ::ioctl(next, TIOCGEXCL, &exclusive);
        QCOMPARE(exclusive, 0);
        QTRY_COMPARE(opened.size(), 2);
        ::close(next);
        QTRY_COMPARE(closed.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestVirtualController)
#include "tst_virtualcontroller.moc"
