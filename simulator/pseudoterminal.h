// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QObject>
#include <QSocketNotifier>
#include <QString>

namespace simulator {

// A pseudo terminal pair without any line discipline, and a watch on who has its far end open. The
// near end never blocks.
//
// The far end is kept open here too: with nobody there the near end would fail to read.
class PseudoTerminal : public QObject
{
    Q_OBJECT

public:
    PseudoTerminal();
    ~PseudoTerminal() override;

    // The far end, such as "/dev/pts/7"; empty if there is no terminal to be had.
    QString path() const { return farPath; }

    // Hangs up: a program at the far end gets errors from now on.
    void close();

    // Reads some of what there is; empty if there is nothing.
    QByteArray read();
    // Writes as much as the terminal takes, and gives its size.
    int write(const char* bytes, int size);
    // Throws away what the program at the far end has not read yet.
    void discardUnread();

    void setReadNotification(bool on) { readNotifier.setEnabled(on); }
    void setWriteNotification(bool on) { writeNotifier.setEnabled(on); }

    // What happened at the far end since the last call. Both: it was closed, and opened again
    // before anybody looked.
    struct Use
    {
        bool opened;
        bool closed; // by the last program
    };
    Use takeUse();

signals:
    void readable();
    void writable();
    void useChanged(); // ask takeUse

private:
    void openFarEnd();
    QByteArray takeEvents(); // "o" for each opening of the far end, "c" for each closing
    bool isFarEndInUse();

    int nearEnd;
    int farEnd = -1;
    int watch; // of opening and closing the far end
    QString farPath;
    QSocketNotifier readNotifier;
    QSocketNotifier writeNotifier;
    QSocketNotifier watchNotifier;
};

} // namespace simulator
