// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>

// Tells how many items of a steady stream are due by now.
class Pacer
{
public:
    explicit Pacer(double perSecond);

    void setRate(double perSecond); // 0 for none; may be infinite
    double rate() const { return perSecond; }
    void start(); // from now on; what was due before is forgotten

    // Takes what is due, at most so many. A backlog above one second is forgotten: a stream that
    // was held up goes on at its pace.
    int take(int most);

private:
    double perSecond;
    QElapsedTimer clock;
    qint64 takenNs = 0; // what was handed out is worth so much time since the start
};
