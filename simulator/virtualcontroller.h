// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/calibrationmaps.h"
#include "simulator/cantraffic.h"
#include "simulator/datalogger.h"
#include "simulator/link.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QMap>
#include <QObject>
#include <QTimer>
#include <functional>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace simulator {

// A rate, in items a second, that only the line limits.
constexpr double asFastAsTheLineTakes = std::numeric_limits<double>::infinity();

// What a virtual controller is made of. The same options give the same controller: all that looks
// random comes from the seed.
struct ControllerOptions
{
    QString serialNumber = QStringLiteral("XCU0001");
    Mode mode = Mode::Device; // at first
    quint32 seed = 1;

    int channels = 128;           // log channels that exist, 0 to 128; requests for more get less
    int namedChannels = 40;       // the first so many have an entry in a configuration block
    quint32 startTimeMs = 0;      // the controller's clock at power-up
    double recordsPerSecond = 50; // pushed by itself in a passive session

    double framesPerSecond = 100; // CAN frames while the capture runs
    int identifiers = 24;         // different CAN identifiers among them

    std::vector<QSize> maps = {{8, 8}, {16, 12}, {1, 16}, {24, 16}}; // columns by rows
    std::vector<xcu::FaultItem> faults;                              // at first
    int calibrationMs = 3000; // an adaptation run; it reports busy and idle by itself, 0 never does
};

// Counts out how many items of a steady stream are due by now.
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
// console and the workbench send, and few others, counts what it receives, and misbehaves as its
// options say. As a bootloader it knows ping and the resets alone and leaves the rest unanswered.
//
// All operations belong to the thread that owns the object.
class VirtualController : public QObject
{
    Q_OBJECT

public:
    explicit VirtualController(ControllerOptions options = {});

    const ControllerOptions& options() const { return settings; }
    Mode mode() const { return settings.mode; }

    // Line bytes from the PC, cut anywhere.
    void receive(const QByteArray& bytes);

    // How often a command was received. REQ_NOT_SET stands for commands without a member.
    int count(xcu::Command::ReqCase member) const { return counts.value(member); }
    quint64 brokenPayloads() const { return brokenTotal; } // whole frames that were no Command

    // What was sent; a doubled response counts twice, a dropped one not at all.
    quint64 recordsSent() const { return sent.value(xcu::Response::kLoggerData); }
    quint64 framesSent() const { return sent.value(xcu::Response::kCandumpFrame); }
    quint64 responsesSent() const { return std::accumulate(sent.begin(), sent.end(), quint64(0)); }

    // The controller's memory, for tests to read and change. All of it survives a reset but the
    // logger's session.
    QMap<unsigned int, std::string>& configuration() { return configurationMemory; } // blocks
    std::vector<xcu::FaultItem>& faults() { return settings.faults; }
    CalibrationMaps& maps() { return calibrationMaps; }
    Datalogger& logger() { return datalogger; }

    // Unasked: these are sent at once and are spared drop, double, delay and garbage.
    void send(const xcu::Response& response);
    // The next record, also without a session: it then has the channels of the last one.
    void pushRecord() { send(nextRecord()); }
    void pushFrame() { pushFrame(traffic.next(timeMs())); } // the next of the traffic
    void pushFrame(const xcu::CandumpFrame& frame);

    void setTrouble(const LinkTrouble& trouble) { writer.setTrouble(trouble); }
    const LinkTrouble& trouble() const { return writer.trouble(); }
    // In items a second; 0 pushes nothing.
    void setRecordRate(double perSecond)
    {
        recordPacer.setRate(perSecond);
        schedulePushing();
    }
    void setFrameRate(double perSecond)
    {
        trafficPacer.setRate(perSecond);
        schedulePushing();
    }

    // The controller's time in milliseconds, start value included. It wraps at 32 bits.
    quint32 timeMs() const { return settings.startTimeMs + static_cast<quint32>(clock()); }
    // Replaces the clock by one that a test turns: milliseconds since power-up.
    void setClock(std::function<qint64()> sincePowerUp) { clock = std::move(sincePowerUp); }

    // Power off and on again: sessions end, clock and sample numbers start anew, virtual inputs are
    // 0; configuration, maps and faults stay.
    void restart(Mode mode);

    // The line's side. While the line is not ready nothing is pushed, and no record is skipped in
    // the numbers; answers are given all the same.
    void setLineReady(bool ready);
    // The unit was unplugged, or the program at the other end is gone: half a frame is forgotten in
    // both directions. Sessions go on, as the vehicle powers the controller.
    void dropLink()
    {
        reader = {};
        writer.clear();
    }

signals:
    void received(const xcu::Command& command);
    void transmit(const QByteArray& bytes);
    // The controller wants to leave the bus and come back in this mode (a reset). Whoever owns the
    // port takes it away and calls restart; without a port nothing happens.
    void leavingBus(Mode mode);

private:
    // Does what the command says and fills in the answer, if it has one.
    void answer(const xcu::Command& command, xcu::Response& response);
    void reportCalibration();

    void put(const xcu::Response& response); // with the trouble that was asked for
    const xcu::Response& nextRecord();
    void schedulePushing();
    void push();

    ControllerOptions settings; // mode and faults as they are now
    QElapsedTimer steadyClock;
    std::function<qint64()> clock;

    LinkReader reader;
    LinkWriter writer;
    bool lineReady = true;

    Datalogger datalogger;
    QMap<unsigned int, std::string> configurationMemory; // blocks
    CalibrationMaps calibrationMaps;
    CanTraffic traffic;
    bool capturing = false;
    QTimer calibration; // of the driver, runs as long as it goes on

    QTimer pushTimer;
    Pacer recordPacer;
    Pacer trafficPacer;
    xcu::Response recordResponse; // reused: a flood would allocate all day long

    QMap<int, int> counts;   // of commands, by member
    QMap<int, quint64> sent; // of responses, by member
    quint64 brokenTotal = 0;
};

} // namespace simulator
