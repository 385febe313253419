// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/tracereaders.h"

#include <functional>
#include <string>

namespace formats {

// Puts the frames of a trace into a list and, where its reader converts them, as lines into a
// .candump file.
class TraceImport : public TraceSink
{
public:
    // Frames are appended. No file, or one that is not open, loses the conversion.
    explicit TraceImport(
        QVector<CanFrames>& frameList, QIODevice* candumpFile = nullptr,
        std::function<void(std::string_view)> diagnosis = {});
    ~TraceImport() override;
    TraceImport(const TraceImport&) = delete;
    TraceImport& operator=(const TraceImport&) = delete;

    // Makes room for as many frames as a trace in text form seems to hold, by the length of its
    // first lines. Does nothing if there is not so much memory.
    void reserveFor(QIODevice& trace);

    // Loses the frame, with a diagnosis for the first one, if list or memory can take no more.
    void addFrame(const CanFrames& frame) override;

    void convert(double seconds, const CanFrames& frame) override;
    void diagnose(std::string_view line) override;

private:
    void writeConversion();

    QVector<CanFrames>& frames;
    bool isFull = false;
    QIODevice* const file;
    std::function<void(std::string_view)> diagnosis;
    std::string line;  // reused from frame to frame
    std::string block; // lines that wait to be written
};

} // namespace formats
