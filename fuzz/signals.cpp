// SPDX-License-Identifier: GPL-3.0-or-later

// A signal set, and the curves of its signals over a frame cut out of the same bytes. What a set
// holds, a set that is written from it holds as well.
#include "formats/cansignals.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"

#include <QBuffer>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const auto read = [](const QByteArray& content) {
        QBuffer device;
        device.setData(content);
        device.open(QIODevice::ReadOnly);
        return formats::readSignalSet(device);
    };
    const auto signalList = read({reinterpret_cast<const char*>(data), static_cast<int>(size)});
    if (read(formats::signalSet(signalList)).size() != signalList.size()) {
        std::abort();
    }
    for (CanSignalData signal : signalList.mid(0, 8)) {
        signal.plotted = true;
        CanFrames frame;
        frame.frameId = signal.frameId;
        frame.length = signal.requiredLength == -1 ? 64 : signal.requiredLength;
        std::memcpy(frame.payload, data, qMin(size, sizeof frame.payload));
        formats::FrameIndex index;
        if (formats::isDrawable(signal)) {
            formats::drawSignal(signal, {frame, frame}, index, [](double, double) {});
        }
    }
    formats::TraceFrame traceFrame;
    std::memcpy(traceFrame.bytes, data, qMin(size, sizeof traceFrame.bytes));
    for (auto* const readStrictly : {formats::readSignalTable, formats::readSignalsOfSet}) {
        QBuffer device;
        device.setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
        device.open(QIODevice::ReadOnly);
        for (const formats::CanSignal& signal : readStrictly(device, [](auto&&...) {})) {
            for (const int length : {0, signal.field.bytesNeeded, formats::TraceFrame::MostBytes}) {
                traceFrame.length = length;
                if (signal.value(traceFrame) && length < signal.field.bytesNeeded) {
                    std::abort();
                }
            }
        }
    }
    return 0;
}
