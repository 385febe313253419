// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QTemporaryFile>

// Takes standard output away while it lives, and lets it out in the end, with what the test runner
// said meanwhile.
class StdoutCapture
{
public:
    StdoutCapture();
    ~StdoutCapture();
    StdoutCapture(const StdoutCapture&) = delete;
    StdoutCapture& operator=(const StdoutCapture&) = delete;

    // What has reached the descriptor so far. What was not flushed is missing, as after a crash.
    QByteArray text() const;

private:
    QTemporaryFile file;
    int original;
};

template <typename Work>
QByteArray stdoutOf(Work work)
{
    const StdoutCapture capture;
    work();
    return capture.text();
}
