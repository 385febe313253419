// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"

#include <functional>
#include <string>
#include <string_view>

class QIODevice;

namespace formats {

// Takes what the reader of a trace finds, in file order: puts frames into a list and, where the
// reader converts them, as lines into a .candump file.
class TraceImport
{
public:
    // Takes a line for the diagnostic channel, without line end.
    using Diagnosis = std::function<void(std::string_view line)>;

    // Frames are appended. No file, or one that is not open, loses the conversion.
    explicit TraceImport(
        QVector<CanFrames>& frameList, QIODevice* candumpFile = nullptr,
        Diagnosis diagnosis = [](std::string_view) {});
    ~TraceImport();
    TraceImport(const TraceImport&) = delete;
    TraceImport& operator=(const TraceImport&) = delete;

    // Makes room for as many frames as a trace in text form can hold. Does nothing if there is not
    // so much memory.
    void reserveFor(const QIODevice& trace);

    // Loses the frame, with a diagnosis for the first one, if list or memory can take no more.
    void addFrame(const CanFrames& frame);

    // A frame for the .candump file.
    void convert(double seconds, const CanFrames& frame);

    const Diagnosis diagnose;

private:
    void writeConversion();

    QVector<CanFrames>& frames;
    bool isFull = false;
    QIODevice* const file;
    std::string line; // reused from frame to frame
    // Lines that wait to be written. One by one would take long, and what a crash would lose is in
    // the trace itself.
    std::string block;
};

} // namespace formats
