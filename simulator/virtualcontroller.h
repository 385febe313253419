// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/adaptationrun.h"
#include "simulator/calibrationmaps.h"
#include "simulator/cantraffic.h"
#include "simulator/commandhistory.h"
#include "simulator/configurationstore.h"
#include "simulator/controlleroptions.h"
#include "simulator/datalogger.h"
#include "simulator/faultmemory.h"
#include "simulator/linkframing.h"
#include "simulator/pacer.h"
#include "simulator/pidtuner.h"
#include "simulator/troubledline.h"
#include "simulator/virtualinputs.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>
#include <optional>
#include <vector>

namespace simulator {

// A controller without any port: line bytes in, line bytes out. It answers every command that has
// an answer, counts what it is told, and misbehaves as its options say.
//
// In the bootloader's guise it knows the bootloader's commands alone and leaves the others
// unanswered.
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

    // What was received. REQ_NOT_SET stands for commands without a member.
    int count(xcu::Command::ReqCase member) const { return history.count(member); }
    std::optional<xcu::Command> last(xcu::Command::ReqCase member) const;
    const std::vector<xcu::Command>& received() const { return history.list(); }
    quint64 brokenPayloads() const { return brokenTotal; } // whole frames that were no Command
    void clearReceived() { history.clear(); }

    // What went out to the line; a doubled response counts twice, a dropped one not at all.
    quint64 recordsSent() const { return recordTotal; }
    quint64 framesSent() const { return frameTotal; }
    quint64 responsesSent() const { return responseTotal; }

    ConfigurationStore& configuration() { return configurationStore; }
    CalibrationMaps& maps() { return calibrationMaps; }
    FaultMemory& faults() { return faultMemory; }
    VirtualInputs& virtualInputs() { return inputs; }
    Datalogger& logger() { return datalogger; }
    bool isCapturing() const { return capturing; } // CAN frames go out

    // Unasked: these go out at once and are spared drop, double, delay and garbage.
    void send(const xcu::Response& response);
    void sendRaw(const QByteArray& lineBytes); // as they are, without a length in front
    // The next record, also without a session: it then has the channels of the last one.
    void pushRecord();
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
    void commandReceived(int member); // after the answer was given
    // The controller wants to leave the bus and come back in this guise (a reset). Whoever owns the
    // port takes it away and calls restart; without a port nothing happens.
    void leavingBus(Guise guise);

private:
    void handle(const xcu::Command& command);
    // Do what the command says and fill in the answer; false if it has none.
    bool answerBootloaderCommand(const xcu::Command& command, xcu::Response& response);
    bool answerDeviceCommand(const xcu::Command& command, xcu::Response& response);
    bool answerLoggerCommand(const xcu::Command& command, xcu::Response& response);
    bool answerCanCommand(const xcu::Command& command, xcu::Response& response);
    bool answerPidCommand(const xcu::Command& command, xcu::Response& response);
    bool answerMapCommand(const xcu::Command& command, xcu::Response& response);
    bool answerConfigurationCommand(const xcu::Command& command, xcu::Response& response);
    void loopBack(const xcu::CanSendMessageReq& request);
    void fillScope(int channel, xcu::ScopeDataResp& response) const;
    void tellAdaptationStatus();

    void put(const xcu::Response& response);
    void putRecord();
    void putFrame(const xcu::CandumpFrame& frame);
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

    VirtualInputs inputs;
    Datalogger datalogger;
    ConfigurationStore configurationStore;
    CalibrationMaps calibrationMaps;
    FaultMemory faultMemory;
    CanTraffic traffic;
    PidTuner pidTuner;
    AdaptationRun adaptation;
    bool capturing = false;

    QTimer pushTimer;
    Pacer recordPacer;
    Pacer framePacer;
    xcu::Response recordResponse; // reused: a flood would allocate all day long

    CommandHistory history;
    quint64 brokenTotal = 0;
    quint64 recordTotal = 0;
    quint64 frameTotal = 0;
    quint64 responseTotal = 0;
};

} // namespace simulator
