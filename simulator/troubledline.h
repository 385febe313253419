// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/controlleroptions.h"
#include "simulator/linkframing.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <deque>
#include <random>

namespace simulator {

// The controller's way out to the line, with all the trouble that can be had there.
class TroubledLine : public QObject
{
    Q_OBJECT

public:
    explicit TroubledLine(quint32 seed, QObject* parent = nullptr);

    void setTrouble(const Trouble& trouble);
    const Trouble& trouble() const { return settings; }

    // Takes a response and says how often it goes out: 0, 1 or 2 times.
    int put(const xcu::Response& response);
    // Takes a response that is spared all trouble but being cut.
    void putStraight(const xcu::Response& response) { appendFrame(ready, response); }
    // Hands over what is due. Whoever puts something calls this at the end of a burst.
    void flush();
    // Forgets what waits, as when the cable is pulled.
    void clear();

    // So much waits that nothing should be pushed until some of it has gone.
    bool isFull() const { return ready.size() > 256 * 1024; }

signals:
    void bytes(const QByteArray& bytes);

private:
    struct Delayed
    {
        qint64 dueMs;
        QByteArray bytes;
    };

    bool hits(int every) const;
    QByteArray garbageFrame();
    void takeDue();
    void handOverPiece();

    Trouble settings;
    std::mt19937 random;
    int responseCount = 0;
    QByteArray ready;
    std::deque<Delayed> delayed;
    QElapsedTimer clock;
    QTimer delayTimer;
    QTimer pauseTimer;
};

} // namespace simulator
