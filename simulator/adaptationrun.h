// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTimer>

namespace simulator {

// The driver calibration: it takes its time, and tells of itself when it has got busy and when it
// is idle again.
class AdaptationRun : public QObject
{
    Q_OBJECT

public:
    // A run of 0 ms is over at once and tells nothing.
    explicit AdaptationRun(int durationMs, QObject* parent = nullptr);

    void start(); // anew, if it runs already
    void stop();
    bool isBusy() const { return end.isActive(); }

signals:
    void statusChanged();

private:
    QTimer announcement;
    QTimer end;
};

} // namespace simulator
