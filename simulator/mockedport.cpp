// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/mockedport.h"

#include "simulator/pseudoterminal.h"
#include "simulator/testbed.h"

#include <QCoreApplication>
#include <atomic>
#include <utility>

using namespace simulator;

namespace {

constexpr int absenceMs = 400; // of a unit that restarts

// Bytes that wait for the terminal. Above the first mark the controller pushes nothing any more
// until the backlog is below the second one.
constexpr int fullMark = 256 * 1024;
constexpr int easyMark = 64 * 1024;

QString makePortName()
{
    static std::atomic<int> count = 0;
    return QStringLiteral("ttyACM%1x%2").arg(QCoreApplication::applicationPid()).arg(count++);
}

} // namespace

MockedPort::MockedPort(Testbed& bed, ControllerOptions options)
    : testbed(bed)
    , unit(std::move(options))
    , portName(makePortName())
{
    returnTimer.setSingleShot(true);
    connect(&returnTimer, &QTimer::timeout, this, &MockedPort::plug);
    connect(&unit, &VirtualController::transmit, this, &MockedPort::transmit);
    connect(&unit, &VirtualController::leavingBus, this, &MockedPort::restartIn);
    unit.setLineReady(false);
}

MockedPort::~MockedPort()
{
    unplug();
}

void MockedPort::plug()
{
    returnTimer.stop();
    if (isPlugged()) {
        return;
    }
    terminal = std::make_unique<PseudoTerminal>();
    connect(terminal.get(), &PseudoTerminal::readable, this, [this] {
        updateUse();
        readAll();
    });
    connect(terminal.get(), &PseudoTerminal::writable, this, &MockedPort::write);
    connect(terminal.get(), &PseudoTerminal::useChanged, this, &MockedPort::updateUse);
    testbed.addPort(portName, terminal->path(), unit.options().serialNumber, unit.mode());
    emit plugged();
}

void MockedPort::unplug()
{
    returnTimer.stop();
    if (!isPlugged()) {
        return;
    }
    testbed.removePort(portName);
    // One of its own signals may have led here.
    terminal->close();
    terminal.release()->deleteLater();
    endUse();
    emit unplugged();
}

void MockedPort::restartIn(Mode mode)
{
    unplug();
    unit.restart(mode);
    returnTimer.start(absenceMs);
}

void MockedPort::transmit(const QByteArray& bytes)
{
    if (isPlugged() && !inUse) {
        updateUse();
    }
    if (!inUse) {
        return; // nobody listens, and whoever opens the port next shall not get half of it
    }
    output += bytes;
    if (backlog() == bytes.size()) {
        write();
    } else {
        updateReadiness();
    }
}

void MockedPort::write()
{
    const int taken = terminal->write(output.constData() + outputStart, backlog());
    outputStart += taken;
    if (taken > 0) {
        emit sent(QByteArray::fromRawData(output.constData() + outputStart - taken, taken));
    }
    if (outputStart == output.size() || outputStart > easyMark) {
        output.remove(0, outputStart);
        outputStart = 0;
    }
    terminal->setWriteNotification(backlog() > 0);
    updateReadiness();
}

void MockedPort::updateReadiness()
{
    isFull = backlog() > (isFull ? easyMark : fullMark);
    unit.setLineReady(inUse && !isFull);
}

void MockedPort::readAll()
{
    // Bounded, so that output gets its turn as well.
    for (int turn = 0; turn < 64 && isPlugged(); ++turn) {
        const QByteArray bytes = terminal->read();
        if (bytes.isEmpty()) {
            return;
        }
        setInUse(true);
        emit received(bytes);
        unit.receive(bytes);
    }
}

void MockedPort::updateUse()
{
    const PseudoTerminal::Use use = terminal->takeUse();
    if (use.closed) {
        if (!use.opened) {
            readAll(); // what the program sent last
        }
        endUse();
    }
    if (use.opened) {
        setInUse(true);
    }
}

void MockedPort::setInUse(bool used)
{
    if (inUse == used) {
        return;
    }
    inUse = used;
    updateReadiness();
    emit useChanged(inUse);
}

// The next program must not find half a frame of the one before.
void MockedPort::endUse()
{
    output.clear();
    outputStart = 0;
    unit.dropLink();
    if (isPlugged()) {
        terminal->setWriteNotification(false);
        terminal->discardUnread();
    }
    setInUse(false);
}
