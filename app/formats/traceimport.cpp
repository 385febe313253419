// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/traceimport.h"

#include "formats/textfield.h"

#include <QIODevice>
#include <algorithm>
#include <new>

namespace formats {

void TraceImport::reserve(qint64 frameCount)
{
    const qint64 needed = frames.size() + frameCount;
    if (needed > frames.capacity()) {
        // At least half as much again: a list that is just filled up would be copied for every
        // small file. Room that is not used costs no memory, only addresses.
        const qint64 roomy = std::max(needed, qint64{frames.capacity()} * 3 / 2);
        try {
            frames.reserve(static_cast<int>(std::min<qint64>(roomy, MaxFrameCount)));
        } catch (const std::bad_alloc&) { // the list grows with its frames, as far as it can
        }
    }
}

void TraceImport::append(const CanFrames& frame)
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
        trace("No room for more frames");
    }
}

qint64 estimatedFrameCount(QIODevice& device)
{
    constexpr int sampleSize = 1 << 16;
    constexpr int shortestLine = 20; // bytes of a frame in any of the formats
    const QByteArray sample = device.isOpen() ? device.peek(sampleSize) : QByteArray();
    const int lineCount = std::max(sample.count('\n'), sample.count('\r'));
    if (lineCount == 0) {
        return 0;
    }
    return lineCount + device.size() / std::max(sample.size() / lineCount, shortestLine);
}

void takePayload(std::string_view words, CanFrames& frame)
{
    const int size = payloadSize(frame);
    for (int i = 0; i < size; ++i) {
        frame.payload[i] = static_cast<unsigned char>(hexInt(takeWord(words, ' ')));
    }
}

} // namespace formats
