// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/calibrationmaps.h"
#include "simulator/cantraffic.h"
#include "simulator/controlleroptions.h"
#include "simulator/datalogger.h"
#include "simulator/linkframing.h"
#include "simulator/troubledline.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace simulator {

// Tells how many items of a steady stream are due by now.
class Pacer
{
public:
    explicit Pacer(double perSecond) { setRate(perSecond); }

    void setRate(double perSecond); // 0 for none; may be infinite
    double rate() const { return itemsPerSecond; }
    void start(); // from now on; what was due before is forgotten

    // Takes what is due, at most so many. What has been due for more than a second is forgotten: a
    // stream that was held up goes on at its pace.
    int take(int most);

private:
    double itemsPerSecond = 0;
    QElapsedTimer clock;
    double taken = 0; // items since start, a whole number
};

// A controller without any port: line bytes in, line bytes out. It answers all commands that the
// console and the workbench send, and few others, counts what it is told, and misbehaves as its
// options say.
//
// In the bootloader's guise it knows ping and the resets alone and leaves the rest unanswered.
//
// All operations belong to the thread that owns the object.
class VirtualController : public QObject
{
    Q_OBJECT

public:
    explicit VirtualController(ControllerOptions options = {}, QObject* parent = nullptr);

    const ControllerOptions& options() const { return settings; }
    Guise guise() const { return currentGuise; }

    // Line bytes from the PC, cut anywhere.
    void receive(const QByteArray& bytes);

    // What was received: how often, and the first so many commands in order. REQ_NOT_SET stands for
    // commands without a member.
    int count(xcu::Command::ReqCase member) const;
    const std::vector<xcu::Command>& received() const { return history; }
    quint64 brokenPayloads() const { return brokenTotal; } // whole frames that were no Command
    void clearReceived();

    // What went out to the line; a doubled response counts twice, a dropped one not at all.
    quint64 recordsSent() const { return recordTotal; }
    quint64 framesSent() const { return frameTotal; }
    quint64 responsesSent() const { return responseTotal; }

    // The controller's memory, for tests to read and change. All of it survives a reset but the
    // logger's session.
    std::map<unsigned int, std::string>& configuration() { return configurationMemory; } // blocks
    std::vector<xcu::FaultItem>& faults() { return faultMemory; }
    CalibrationMaps& maps() { return calibrationMaps; }
    Datalogger& logger() { return datalogger; }

    // Unasked: these go out at once and are spared drop, double, delay and garbage.
    void send(const xcu::Response& response);
    // The next record, also without a session: it then has the channels of the last one.
    void pushRecord() { send(nextRecord()); }
    void pushFrame(); // the next of the traffic
    void pushFrame(const xcu::CandumpFrame& frame);

    void setTrouble(const Trouble& trouble) { line.setTrouble(trouble); }
    const Trouble& trouble() const { return line.trouble(); }
    // In items a second; 0 pushes nothing.
    void setRecordRate(double perSecond);
    void setFrameRate(double perSecond);

    // The controller's time in milliseconds, start value included. It wraps at 32 bits.
    quint32 timeMs() const;
    // Replaces the clock by one that a test turns: milliseconds since power-up.
    void setClock(std::function<qint64()> millisecondsSincePowerUp);

    // Power off and on again: sessions end, clock and sample numbers start anew, virtual inputs are
    // 0; configuration, maps and faults stay.
    void restart(Guise guise);

    // The line's side. While the line is not ready nothing is pushed, and no record is skipped in
    // the numbers; answers are given all the same.
    void setLineReady(bool ready);
    // The cable was pulled or the program at the other end is gone: half a frame is forgotten in
    // both directions. Sessions go on, for the vehicle feeds the controller.
    void dropLink();

signals:
    void transmit(const QByteArray& bytes);
    // The controller wants to leave the bus and come back in this guise (a reset). Whoever owns the
    // port takes it away and calls restart; without a port nothing happens.
    void leavingBus(Guise guise);

private:
    // Do what the command says and fill in the answer; false if it has none.
    bool answer(const xcu::Command& command, xcu::Response& response);
    bool answerAsDevice(const xcu::Command& command, xcu::Response& response);
    void tellCalibrationStatus();

    void put(const xcu::Response& response); // with trouble
    const xcu::Response& nextRecord();
    void countSent(const xcu::Response& response, int copies);
    void schedulePushing();
    void push();

    ControllerOptions settings;
    Guise currentGuise;
    QElapsedTimer steadyClock;
    std::function<qint64()> clock;

    FrameReader reader;
    TroubledLine line;
    bool lineReady = true;

    Datalogger datalogger;
    std::map<unsigned int, std::string> configurationMemory; // blocks
    CalibrationMaps calibrationMaps;
    std::vector<xcu::FaultItem> faultMemory;
    CanTraffic traffic;
    bool capturing = false;
    QTimer calibration; // of the driver, runs as long as it goes on

    QTimer pushTimer;
    Pacer recordPacer;
    Pacer framePacer;
    xcu::Response recordResponse; // reused: a flood would allocate all day long

    std::map<int, int> counts; // by member
    std::vector<xcu::Command> history;
    quint64 brokenTotal = 0;
    quint64 recordTotal = 0;
    quint64 frameTotal = 0;
    quint64 responseTotal = 0;
};

} // namespace simulator
