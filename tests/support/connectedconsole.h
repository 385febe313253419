// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/consolerig.h"
#include "support/portrig.h"

// A console that is connected to a controller whose clock the test turns, and which pushes nothing
// by itself. The console goes first: a port that outlives its testbed cannot be closed.
class ConnectedConsole : public ConsoleHome, public PortRig, public ConsoleRig
{
public:
    explicit ConnectedConsole(const QString& serialNumber = "XCU0001")
        : PortRig(quiet(serialNumber))
    {
        controller.setClock([this] { return now; });
        port.plug();
        connect();
    }

    void connect()
    {
        const int before = count(xcu::Command::kReadConfiguration);
        QTRY_COMPARE(child<QComboBox>("xcuSerialNumber")->count(), 1);
        click("pushButton_2");
        QTRY_COMPARE(count(xcu::Command::kReadConfiguration), before + 2);
        settle();
    }

    // Waits until the console has seen everything that was sent to it.
    void settle()
    {
        xcu::Response mark;
        mark.mutable_fault_count()->set_first_count(++marks);
        controller.send(mark);
        QTRY_VERIFY(text("faultStatus").startsWith(QString("Faults: %1/").arg(marks)));
    }

    void record(qint64 at)
    {
        now = at;
        controller.pushRecord();
        QTRY_COMPARE(status(), QString("Received logger data %1").arg(at));
    }

    qint64 now = 0;

private:
    static simulator::ControllerOptions quiet(const QString& serialNumber)
    {
        simulator::ControllerOptions options;
        options.serialNumber = serialNumber;
        options.recordsPerSecond = 0;
        options.framesPerSecond = 0;
        options.calibrationMs = 0;
        return options;
    }

    int marks = 1000;
};
