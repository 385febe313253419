// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/link.h"

#include <QtEndian>
#include <algorithm>
#include <utility>

using namespace simulator;

namespace {

constexpr int headerSize = 4;

// Appends the header and room for the payload, to which it points.
char* appendRoom(QByteArray& line, quint32 size)
{
    const int start = line.size();
    line.resize(start + headerSize + static_cast<int>(size));
    qToLittleEndian(size, line.data() + start);
    return line.data() + start + headerSize;
}

} // namespace

void simulator::appendFrame(QByteArray& line, const google::protobuf::MessageLite& message)
{
    char* payload = appendRoom(line, static_cast<quint32>(message.ByteSizeLong()));
    message.SerializeWithCachedSizesToArray(reinterpret_cast<quint8*>(payload));
}

void LinkReader::append(const QByteArray& bytes)
{
    buffer.remove(0, consumed);
    consumed = 0;
    buffer += bytes;
}

bool LinkReader::next(std::string& payload)
{
    const qint64 available = buffer.size() - consumed - headerSize;
    const char* header = buffer.constData() + consumed;
    if (available < 0 || available < qint64(qFromLittleEndian<quint32>(header))) {
        return false;
    }
    payload.assign(header + headerSize, qFromLittleEndian<quint32>(header));
    consumed += headerSize + static_cast<int>(payload.size());
    return true;
}

LinkWriter::LinkWriter(quint32 seed)
    : random(seed)
{
    clock.start();
    for (QTimer* timer : {&delayTimer, &pauseTimer}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
        connect(timer, &QTimer::timeout, this, &LinkWriter::flush);
    }
}

void LinkWriter::setTrouble(const LinkTrouble& wanted)
{
    settings = wanted;
    responseCount = 0;
    flush(); // when splitting ends, nothing waits for the next piece
}

int LinkWriter::put(const xcu::Response& response)
{
    ++responseCount;
    const bool isDelayed = settings.delayMs > 0 || !delayed.empty();
    if (isDelayed) {
        delayed.push_back({clock.elapsed() + settings.delayMs, {}});
    }
    QByteArray& line = isDelayed ? delayed.back().bytes : ready;
    if (hits(settings.garbageEvery)) {
        appendGarbage(line);
    }
    const int copies = hits(settings.dropEvery) ? 0 : hits(settings.doubleEvery) ? 2 : 1;
    for (int i = 0; i < copies; ++i) {
        appendFrame(line, response);
    }
    return copies;
}

void LinkWriter::appendGarbage(QByteArray& line)
{
    const quint32 size = 1 + random() % 200;
    char* payload = appendRoom(line, size);
    std::generate_n(payload, size, [this] { return static_cast<char>(random()); });
    payload[0] = '\x07'; // no message begins so: the wire type does not exist
}

void LinkWriter::flush()
{
    takeDue();
    if (ready.isEmpty()) {
        return;
    }
    if (settings.split == 0) {
        emit bytes(std::exchange(ready, {}));
    } else if (!pauseTimer.isActive()) {
        const QByteArray piece = ready.left(1 + static_cast<int>(random() % ready.size()));
        ready.remove(0, piece.size());
        pauseTimer.start(1); // without a pause the other end would read two pieces as one
        emit bytes(piece);
    }
}

void LinkWriter::takeDue()
{
    while (!delayed.empty() && delayed.front().dueMs <= clock.elapsed()) {
        ready += delayed.front().bytes;
        delayed.pop_front();
    }
    if (!delayed.empty()) {
        delayTimer.start(static_cast<int>(delayed.front().dueMs - clock.elapsed()));
    }
}

void LinkWriter::clear()
{
    ready.clear();
    delayed.clear();
    delayTimer.stop();
    pauseTimer.stop();
}
