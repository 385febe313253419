// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace simulator {

// SIGHUP, SIGINT and SIGTERM as events. There is one such object in a process at the most.
class SignalCatcher : public QObject
{
    Q_OBJECT

public:
    explicit SignalCatcher(QObject* parent = nullptr);

signals:
    // The terminal sends its signals to the whole process group, other senders to this process
    // only.
    void caught(int number, bool fromTerminal);

private:
    void read();

    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace simulator
