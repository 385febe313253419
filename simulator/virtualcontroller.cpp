// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/virtualcontroller.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

using namespace simulator;

namespace {

// One seed for each thing that looks random, so that they do not move in step.
enum SeedOf : quint32 { Logger, Maps, Traffic, Link };

quint32 derive(quint32 seed, SeedOf what)
{
    return seed * 4 + what;
}

xcu::Response emptyResponse()
{
    xcu::Response response;
    response.set_protocol_version(1);
    return response;
}

xcu::Response responseOf(const xcu::CandumpFrame& frame)
{
    xcu::Response response = emptyResponse();
    *response.mutable_candump_frame() = frame;
    return response;
}

} // namespace

void Pacer::setRate(double perSecond)
{
    itemsPerSecond = perSecond;
    start();
}

void Pacer::start()
{
    clock.start();
    taken = 0;
}

int Pacer::take(int most)
{
    if (std::isinf(itemsPerSecond)) {
        return most;
    }
    const double dueByNow = std::floor(double(clock.nsecsElapsed()) * 1e-9 * itemsPerSecond);
    taken = std::max(taken, dueByNow - std::ceil(itemsPerSecond));
    const double due = std::min(dueByNow - taken, double(most));
    taken += due;
    return static_cast<int>(due);
}

VirtualController::VirtualController(ControllerOptions options)
    : settings(std::move(options))
    , writer(derive(settings.seed, Link))
    , datalogger(settings.channels, derive(settings.seed, Logger))
    , configurationMemory(configurationBlocks(settings.namedChannels))
    , calibrationMaps(makeMaps(settings.maps, derive(settings.seed, Maps)))
    , traffic(settings.identifiers, derive(settings.seed, Traffic))
    , recordPacer(settings.recordsPerSecond)
    , trafficPacer(settings.framesPerSecond)
{
    steadyClock.start();
    clock = [this] { return steadyClock.elapsed(); };
    recordResponse.set_protocol_version(1);
    pushTimer.setTimerType(Qt::PreciseTimer);
    connect(&pushTimer, &QTimer::timeout, this, &VirtualController::push);
    connect(&writer, &LinkWriter::bytes, this, &VirtualController::transmit);
    calibration.setSingleShot(true);
    connect(&calibration, &QTimer::timeout, this, &VirtualController::reportCalibration);
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
        ++counts[command.req_case()];
        emit received(command);
        xcu::Response response = emptyResponse();
        answer(command, response);
        if (response.resp_case() != xcu::Response::RESP_NOT_SET) {
            put(response);
        }
    }
    writer.flush();
}

void VirtualController::put(const xcu::Response& response)
{
    sent[response.resp_case()] += writer.put(response);
}

void VirtualController::send(const xcu::Response& response)
{
    ++sent[response.resp_case()];
    writer.putUnharmed(response);
    writer.flush();
}

const xcu::Response& VirtualController::nextRecord()
{
    datalogger.nextRecord(timeMs(), *recordResponse.mutable_logger_data());
    return recordResponse;
}

void VirtualController::pushFrame(const xcu::CandumpFrame& frame)
{
    send(responseOf(frame));
}

void VirtualController::reportCalibration()
{
    xcu::Response response = emptyResponse();
    response.mutable_driver_calibration_status()->set_status(
        calibration.isActive() ? xcu::ADAPTATION_BUSY : xcu::ADAPTATION_IDLE);
    put(response);
    writer.flush();
}

void VirtualController::restart(Mode mode)
{
    settings.mode = mode;
    steadyClock.restart();
    datalogger.powerUp();
    capturing = false;
    calibration.stop();
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
    trafficPacer.start();
    schedulePushing();
}

void VirtualController::schedulePushing()
{
    const double recordRate = datalogger.isPassive() ? recordPacer.rate() : 0;
    const double frameRate = capturing ? trafficPacer.rate() : 0;
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
    if (datalogger.isPassive()) {
        for (int due = recordPacer.take(burst); due > 0; --due) {
            put(nextRecord());
        }
    }
    if (capturing) {
        for (int due = trafficPacer.take(burst); due > 0; --due) {
            put(responseOf(traffic.next(timeMs())));
        }
    }
    writer.flush();
}
