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

// The controller's own end of the link. A frame here is one of the link, no CAN frame: the length
// of the payload as 32 bits, little-endian, then the payload. The PC's end has code of its own, on
// purpose: the two check each other.

// What a unit is on the USB bus, as its product identifier says: the running device, or the
// bootloader into which it was reset.
enum class Mode { Device, Bootloader };

// Trouble with what the controller sends. A count of n takes every nth response, 0 none; the counts
// run from the last change on.
struct LinkTrouble
{
    int delayMs = 0;      // every response is held back for so long; the order stays
    int dropEvery = 0;    // the response is never sent
    int doubleEvery = 0;  // the response is sent twice
    int garbageEvery = 0; // a frame that is no message is sent ahead of the response
    int split = 0;        // not 0: frames are sent in pieces cut at seeded places, headers too
};

void appendFrame(QByteArray& line, const google::protobuf::MessageLite& message);

// Finds the frames in bytes that were cut anywhere. After a wrong length it is lost, as on the real
// line: it waits until so many bytes have come.
class LinkReader
{
public:
    void append(const QByteArray& bytes);
    // Takes the next whole payload; false if there is none yet.
    bool next(std::string& payload);

private:
    QByteArray buffer;
    int consumed = 0; // bytes at the start of the buffer that were taken
};

// Makes frames of responses, with the trouble that was asked for.
class LinkWriter : public QObject
{
    Q_OBJECT

public:
    explicit LinkWriter(quint32 seed);

    void setTrouble(const LinkTrouble& wanted);
    const LinkTrouble& trouble() const { return settings; }

    // Takes a response and says how often it is sent: 0, 1 or 2 times.
    int put(const xcu::Response& response);
    // Takes a response that may be cut into pieces, but meets no other trouble.
    void putUnharmed(const xcu::Response& response) { appendFrame(ready, response); }
    // Gives out what is due. Whoever puts something calls this at the end of a burst.
    void flush();
    // Forgets what waits to be sent.
    void clear();

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

    LinkTrouble settings;
    std::mt19937 random;
    int responseCount = 0;
    QByteArray ready;
    std::deque<Delayed> delayed;
    QElapsedTimer clock;
    QTimer delayTimer;
    QTimer pauseTimer; // between two pieces
};

} // namespace simulator
