// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/testhome.h"

#include <cstdio>
#include <unistd.h>

// Takes a standard stream away while it lives, and lets it out in the end, with what the test
// runner said meanwhile.
class StdoutCapture
{
public:
    explicit StdoutCapture(int streamDescriptor = STDOUT_FILENO)
        : descriptor(streamDescriptor)
        , original(dup(streamDescriptor))
    {
        std::fflush(stdout);
        if (!file.open() || dup2(file.handle(), descriptor) < 0) {
            qFatal("a standard stream cannot be captured");
        }
    }
    ~StdoutCapture()
    {
        std::fflush(stdout);
        dup2(original, descriptor);
        ::close(original);
        std::fputs(text().constData(), stdout);
        std::fflush(stdout);
    }

    // What has reached the descriptor so far. What was not flushed is missing, as after a crash.
    QByteArray text() const { return contents(file.fileName()); }

private:
    QTemporaryFile file;
    int descriptor;
    int original;
};

template <typename Work>
QByteArray stdoutOf(Work work)
{
    const StdoutCapture capture;
    work();
    return capture.text();
}
