// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/virtualcontroller.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace simulator {

namespace {

// One seed for each thing that looks random, so that they do not move in step.
enum SeedOf : quint32 { Logger, Maps, Traffic, Line };

quint32 derive(quint32 seed, SeedOf what)
{
    return seed * 4 + what;
}

} // namespace

VirtualController::VirtualController(ControllerOptions options, QObject* parent)
    : QObject(parent)
    , settings(std::move(options))
    , currentGuise(settings.guise)
    , line(derive(settings.seed, Line))
    , datalogger(settings.channels, derive(settings.seed, Logger), inputs)
    , configurationStore(settings.namedChannels)
    , calibrationMaps(settings.maps, derive(settings.seed, Maps))
    , faultMemory(settings.faults)
    , traffic(settings.identifiers, derive(settings.seed, Traffic))
    , adaptation(settings.calibrationMs)
    , recordPacer(settings.recordsPerSecond)
    , framePacer(settings.framesPerSecond)
    , history(settings.keepReceived)
{
    steadyClock.start();
    clock = [this] { return steadyClock.elapsed(); };
    recordResponse.set_protocol_version(1);
    line.setTrouble(settings.trouble);
    pushTimer.setTimerType(Qt::PreciseTimer);
    connect(&pushTimer, &QTimer::timeout, this, &VirtualController::push);
    connect(&line, &TroubledLine::bytes, this, &VirtualController::transmit);
    connect(
        &adaptation, &AdaptationRun::statusChanged, this, &VirtualController::tellAdaptationStatus);
}

void VirtualController::receive(const QByteArray& bytes)
{
    reader.append(bytes);
    std::string payload;
    xcu::Command command;
    while (reader.next(payload)) {
        if (!command.ParseFromString(payload)) {
            ++brokenTotal;
            continue;
        }
        history.add(command);
        handle(command);
        emit commandReceived(command.req_case());
    }
    line.flush();
}

std::optional<xcu::Command> VirtualController::last(xcu::Command::ReqCase member) const
{
    return history.last(member);
}

void VirtualController::put(const xcu::Response& response)
{
    countSent(response, line.put(response));
}

void VirtualController::putRecord()
{
    datalogger.nextRecord(timeMs(), *recordResponse.mutable_logger_data());
    put(recordResponse);
}

void VirtualController::putFrame(const xcu::CandumpFrame& frame)
{
    xcu::Response response;
    response.set_protocol_version(1);
    *response.mutable_candump_frame() = frame;
    put(response);
}

void VirtualController::countSent(const xcu::Response& response, int copies)
{
    responseTotal += copies;
    if (response.has_logger_data()) {
        recordTotal += copies;
    } else if (response.has_candump_frame()) {
        frameTotal += copies;
    }
}

void VirtualController::send(const xcu::Response& response)
{
    QByteArray frame;
    appendFrame(frame, response);
    countSent(response, 1);
    sendRaw(frame);
}

void VirtualController::sendRaw(const QByteArray& lineBytes)
{
    line.putStraight(lineBytes);
    line.flush();
}

void VirtualController::pushRecord()
{
    datalogger.nextRecord(timeMs(), *recordResponse.mutable_logger_data());
    send(recordResponse);
}

void VirtualController::pushFrame()
{
    pushFrame(traffic.next(timeMs()));
}

void VirtualController::pushFrame(const xcu::CandumpFrame& frame)
{
    xcu::Response response;
    response.set_protocol_version(1);
    *response.mutable_candump_frame() = frame;
    send(response);
}

void VirtualController::tellAdaptationStatus()
{
    xcu::Response response;
    response.set_protocol_version(1);
    response.mutable_driver_calibration_status()->set_status(
        adaptation.isBusy() ? xcu::ADAPTATION_BUSY : xcu::ADAPTATION_IDLE);
    put(response);
    line.flush();
}

void VirtualController::setRecordRate(double perSecond)
{
    recordPacer.setRate(perSecond);
    schedulePushing();
}

void VirtualController::setFrameRate(double perSecond)
{
    framePacer.setRate(perSecond);
    schedulePushing();
}

quint32 VirtualController::timeMs() const
{
    return settings.startTimeMs + static_cast<quint32>(clock());
}

void VirtualController::setClock(std::function<qint64()> millisecondsSincePowerUp)
{
    clock = std::move(millisecondsSincePowerUp);
}

void VirtualController::restart(Guise guise)
{
    currentGuise = guise;
    steadyClock.restart();
    datalogger.powerUp();
    capturing = false;
    inputs.clear();
    adaptation.stop();
    schedulePushing();
    dropLink();
}

void VirtualController::setLineReady(bool ready)
{
    if (lineReady == ready) {
        return;
    }
    lineReady = ready;
    recordPacer.start();
    framePacer.start();
    schedulePushing();
}

void VirtualController::dropLink()
{
    reader.clear();
    line.clear();
}

void VirtualController::schedulePushing()
{
    const double recordRate = datalogger.isPassive() ? recordPacer.rate() : 0;
    const double frameRate = capturing ? framePacer.rate() : 0;
    const double rate = std::max(recordRate, frameRate);
    if (!lineReady || rate <= 0) {
        pushTimer.stop();
        return;
    }
    constexpr double longestIntervalMs = 10;
    const double interval = std::isinf(rate) ? 0 : std::clamp(100 / rate, 1.0, longestIntervalMs);
    pushTimer.start(static_cast<int>(interval));
}

void VirtualController::push()
{
    constexpr int burst = 128; // of each kind; then the event loop has its turn
    if (line.isFull()) {
        return;
    }
    if (datalogger.isPassive()) {
        for (int due = recordPacer.take(burst); due > 0; --due) {
            putRecord();
        }
    }
    if (capturing) {
        for (int due = framePacer.take(burst); due > 0; --due) {
            putFrame(traffic.next(timeMs()));
        }
    }
    line.flush();
}

} // namespace simulator
