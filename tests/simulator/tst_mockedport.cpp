// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/portrig.h"

#include <QSerialPort>
#include <QSerialPortInfo>
#include <QSignalSpy>
#include <QtTest>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace simulator;

namespace {

QByteArray frameOf(const xcu::Command& command)
{
    QByteArray frame;
    appendFrame(frame, command);
    return frame;
}

QByteArray pingFrame(unsigned int value)
{
    xcu::Command command;
    command.mutable_ping()->set_value(value);
    return frameOf(command);
}

// A program that has a port open.
class Program
{
public:
    explicit Program(const QString& portName)
        : serial(QSerialPortInfo(portName))
    {
        QObject::connect(&serial, &QSerialPort::readyRead, [this] { read(); });
        serial.open(QIODevice::ReadWrite);
    }

    void send(const QByteArray& frame)
    {
        serial.write(frame);
        serial.flush();
    }

    void read()
    {
        reader.append(serial.readAll());
        std::string payload;
        while (reader.next(payload)) {
            responses.emplace_back();
            whole = whole && responses.back().ParseFromString(payload);
        }
    }

    QSerialPort serial;
    bool whole = true; // every payload was a message
    std::vector<xcu::Response> responses;

private:
    FrameReader reader;
};

} // namespace

class TestMockedPort : public QObject
{
    Q_OBJECT

private slots:
    void nobodyFindsBytesOfAnother()
    {
        xcu::Command start;
        start.mutable_datalogger_start()->set_passive(1);
        for (unsigned int channel = 0; channel < 128; ++channel) {
            start.mutable_datalogger_start()->add_channels(channel);
        }
        for (const bool noticed : {true, false}) {
            PortRig rig;
            rig.plug();
            rig.controller().setRecordRate(asFastAsTheLineTakes);
            {
                Program first(rig.portName());
                first.send(frameOf(start) + pingFrame(1).left(3)); // and then it crashes
                QTRY_VERIFY(first.responses.size() > 1000);
            }
            if (noticed) { // before the second one came
                QTRY_VERIFY(!rig.port().isInUse());
                rig.controller().pushRecord(); // for nobody
            }
            Program second(rig.portName());
            second.send(pingFrame(2));
            const auto isPong = [](const xcu::Response& response) { return response.has_pong(); };
            QTRY_VERIFY(std::any_of(second.responses.begin(), second.responses.end(), isPong));
            QVERIFY(second.whole);
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

QTEST_GUILESS_MAIN(TestMockedPort)
#include "tst_mockedport.moc"
