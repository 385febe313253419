// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>

namespace simulator {

// Tells how many items of a steady stream are due by now.
class Pacer
{
public:
    explicit Pacer(double perSecond);

    void setRate(double perSecond); // 0 for none; may be infinite
    double rate() const { return itemsPerSecond; }
    void start(); // from now on; what was due before is forgotten

    // Takes what is due, at most so many. What has been due for more than a second is forgotten: a
    // stream that was held up goes on at its pace.
    int take(int most);

private:
    double itemsPerSecond;
    QElapsedTimer clock;
    double taken = 0; // items since start, a whole number
};

} // namespace simulator
