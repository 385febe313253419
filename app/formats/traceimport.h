// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"

#include <functional>
#include <optional>
#include <string_view>

class QIODevice;

namespace formats {

// Where a trace reader puts what it reads.
struct TraceImport
{
    QVector<CanFrames>& frames; // frames are appended
    // Takes lines of diagnosis, without line end.
    std::function<void(std::string_view)> trace = [](std::string_view) {};
    QIODevice* candumpFile = nullptr; // takes the lines of a conversion, if it is open

    // Makes room for so many more frames, so that the list does not copy itself as it grows. Does
    // nothing if there is not so much memory.
    void reserve(qint64 frameCount);

    // Loses the frame, with a trace for the first one, if the list or the memory can take no more.
    void append(const CanFrames& frame);

    bool isFull = false;
};

// The times of a file, counted from its first one.
class TimeBase
{
public:
    double elapsed(double time)
    {
        if (!first) {
            first = time;
        }
        return time - *first;
    }

private:
    std::optional<double> first;
};

// Frames that a trace in text form seems to hold, by the length of its first lines.
qint64 estimatedFrameCount(QIODevice& device);

// Takes `length` bytes in base 16 off words separated by blanks, as far as the payload goes. Bytes
// that the line does not have are 0.
void takePayload(std::string_view words, CanFrames& frame);

} // namespace formats
