// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <deque>
#include <random>
#include <string>

namespace simulator {

// The controller's own end of the link. A frame is the length of the payload as 32 bits,
// little-endian, then the payload. It shares nothing with the PC's end on purpose, so that the two
// check each other.

// What a unit is on the USB bus, as its product identifier says: the running device, or the
// bootloader into which it was reset.
enum class Mode { Device, Bootloader };

// Faults that are injected into what the controller sends. A count of n takes every nth response, 0
// none; the counts run from the last change on.
struct LinkFaults
{
    int delayMs = 0;      // every response is held back for so long; the order stays
    int dropEvery = 0;    // the response is never sent
    int doubleEvery = 0;  // the response is sent twice
    int garbageEvery = 0; // a frame that is no message is sent ahead of the response
    int split = 0;        // not 0: frames are sent in pieces cut at seeded places, headers too
};

void appendFrame(QByteArray& line, const google::protobuf::MessageLite& message);

// Puts the frames together again from bytes that were cut anywhere. There is no way back after a
// wrong length, as on the real line: the reader waits until so many bytes have come.
class FrameReader
{
public:
    void append(const QByteArray& bytes);
    // Takes the next whole payload; false if there is none yet.
    bool next(std::string& payload);

private:
    QByteArray buffer;
    int consumed = 0; // bytes at the start of the buffer that were taken
};

// Makes line bytes of responses, with the faults that were asked for.
class FrameWriter : public QObject
{
    Q_OBJECT

public:
    explicit FrameWriter(quint32 seed);

    void setFaults(const LinkFaults& wanted);
    const LinkFaults& faults() const { return settings; }

    // Takes a response and says how often it is sent: 0, 1 or 2 times.
    int put(const xcu::Response& response);
    // Takes a response that is spared all faults but being cut.
    void putUnharmed(const xcu::Response& response) { appendFrame(ready, response); }
    // Gives out what is due. Whoever puts something calls this at the end of a burst.
    void flush();
    // Forgets what waits, as when the controller is unplugged.
    void clear();

    // So much waits that nothing should be pushed until some of it has been sent.
    bool isFull() const { return ready.size() > 256 * 1024; }

signals:
    void bytes(const QByteArray& bytes);

private:
    struct Delayed
    {
        qint64 dueMs;
        QByteArray bytes;
    };

    bool hits(int every) const { return every > 0 && responseCount % every == 0; }
    void appendGarbage(QByteArray& line);
    void takeDue();

    LinkFaults settings;
    std::mt19937 random;
    int responseCount = 0;
    QByteArray ready;
    std::deque<Delayed> delayed;
    QElapsedTimer clock;
    QTimer delayTimer;
    QTimer pauseTimer; // between two pieces
};

} // namespace simulator
