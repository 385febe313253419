// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/troubledline.h"

#include <QtEndian>
#include <algorithm>
#include <utility>

using namespace simulator;

TroubledLine::TroubledLine(quint32 seed, QObject* parent)
    : QObject(parent)
    , random(seed)
{
    clock.start();
    for (QTimer* timer : {&delayTimer, &pauseTimer}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        connect(timer, &QTimer::timeout, this, &TroubledLine::flush);
    }
}

void TroubledLine::setTrouble(const Trouble& trouble)
{
    settings = trouble;
    responseCount = 0;
}

int TroubledLine::put(const xcu::Response& response)
{
    ++responseCount;
    const bool isDelayed = settings.delayMs > 0 || !delayed.empty();
    QByteArray held;
    QByteArray& out = isDelayed ? held : ready;

    int copies = 0;
    if (hits(settings.garbageEvery)) {
        out += garbageFrame();
    }
    if (!hits(settings.dropEvery)) {
        copies = hits(settings.doubleEvery) ? 2 : 1;
    }
    for (int i = 0; i < copies; ++i) {
        appendFrame(out, response);
    }
    if (isDelayed) {
        delayed.push_back({clock.elapsed() + settings.delayMs, held});
    }
    return copies;
}

bool TroubledLine::hits(int every) const
{
    return every > 0 && responseCount % every == 0;
}

QByteArray TroubledLine::garbageFrame()
{
    constexpr int headerSize = 4;
    const quint32 size = 1 + random() % 200;
    // No message begins with a 7: its wire type does not exist.
    QByteArray frame(headerSize + static_cast<int>(size), '\x07');
    qToLittleEndian(size, frame.data());
    std::generate(
        frame.begin() + headerSize + 1, frame.end(), [&] { return static_cast<char>(random()); });
    return frame;
}

void TroubledLine::flush()
{
    takeDue();
    if (settings.split != 0) {
        handOverPiece();
    } else if (!ready.isEmpty()) {
        emit bytes(std::exchange(ready, {}));
    }
}

void TroubledLine::takeDue()
{
    while (!delayed.empty() && delayed.front().dueMs <= clock.elapsed()) {
        ready += delayed.front().bytes;
        delayed.pop_front();
    }
    if (!delayed.empty()) {
        delayTimer.start(static_cast<int>(delayed.front().dueMs - clock.elapsed()));
    }
}

void TroubledLine::handOverPiece()
{
    // Two pieces need a pause between them, or the other end reads them as one.
    constexpr int pauseMs = 1;
    if (ready.isEmpty() || pauseTimer.isActive()) {
        return;
    }
    const int size = 1 + static_cast<int>(random() % ready.size());
    const QByteArray piece = ready.left(size);
    ready.remove(0, size);
    pauseTimer.start(pauseMs);
    emit bytes(piece);
}

void TroubledLine::clear()
{
    ready.clear();
    delayed.clear();
    delayTimer.stop();
    pauseTimer.stop();
}
