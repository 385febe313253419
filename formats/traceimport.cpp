// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/traceimport.h"

#include "formats/candumpline.h"

#include <QIODevice>
#include <algorithm>
#include <new>

namespace formats {

TraceImport::TraceImport(QVector<CanFrames>& frameList, QIODevice* candumpFile, Diagnosis diagnosis)
    : diagnose(std::move(diagnosis))
    , frames(frameList)
    , file(candumpFile != nullptr && candumpFile->isOpen() ? candumpFile : nullptr)
{}

TraceImport::~TraceImport()
{
    writeConversion();
}

void TraceImport::reserveFor(const QIODevice& trace)
{
    constexpr qint64 shortestLine = 20; // bytes of a frame in any of the formats
    const qint64 expected = frames.size() + trace.size() / shortestLine;
    if (expected > frames.capacity()) {
        // At least half as much again: a list that is just filled up would be copied for every
        // small file. Room that is not used costs no memory, only addresses.
        const qint64 roomy = std::max(expected, qint64{frames.capacity()} * 3 / 2);
        try {
            frames.reserve(static_cast<int>(std::min<qint64>(roomy, MaxFrameCount)));
        } catch (const std::bad_alloc&) { // the list grows with its frames, as far as it can
        }
    }
}

void TraceImport::addFrame(const CanFrames& frame)
{
    if (isFull) {
        return;
    }
    try {
        isFull = frames.size() >= MaxFrameCount;
        if (!isFull) {
            frames.append(frame);
        }
    } catch (const std::bad_alloc&) {
        isFull = true;
    }
    if (isFull) {
        diagnose("No room for more frames");
    }
}

void TraceImport::convert(double seconds, const CanFrames& frame)
{
    if (file == nullptr) {
        return;
    }
    const std::string_view payload(
        reinterpret_cast<const char*>(frame.payload), static_cast<std::size_t>(payloadSize(frame)));
    composeImportedFrameLine(line, seconds, frame.busNumber, frame.frameId, payload);
    block += line;
    if (block.size() >= 1 << 16) {
        writeConversion();
    }
}

void TraceImport::writeConversion()
{
    if (file != nullptr) {
        file->write(block.data(), static_cast<qint64>(block.size()));
    }
    block.clear();
}

} // namespace formats
