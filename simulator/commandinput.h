// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

namespace simulator {

// Lines from standard input, a file or a named pipe, one after the other. A line "wait MS" holds
// back those behind it.
class CommandInput : public QObject
{
    Q_OBJECT

public:
    // Takes over the descriptor.
    explicit CommandInput(int descriptor, QObject* parent = nullptr);
    ~CommandInput() override;

    // For CommandInput's constructor; negative if the path cannot be read. A named pipe is held
    // open, so that its writers may come and go.
    static int openPath(const QString& path);

signals:
    void line(const QString& text);

private:
    void read();
    void work();

    int input;
    QSocketNotifier notifier;
    QTimer pause;
    QByteArray pending;
};

} // namespace simulator
