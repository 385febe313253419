// SPDX-License-Identifier: GPL-3.0-or-later

// A signal set, and the curves of its signals over frames cut out of the same bytes: as the slow
// road draws them. What a set holds, a set that is written from it holds as well.
#include "formats/frameindex.h"
#include "formats/signaldecoder.h"
#include "formats/signalset.h"
#include "support/importcheck.h"

#include <QBuffer>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

QVector<CanSignalData> readSet(QByteArray content)
{
    QBuffer device(&content);
    device.open(QIODevice::ReadOnly);
    return readSignalSet(device);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr int slowFieldLength = 1 << 16;
    constexpr int signalLimit = 8;
    QVector<CanSignalData> signalList =
        readSet(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    if (readSet(signalSet(signalList)).size() != signalList.size()) {
        std::abort();
    }
    signalList.resize(qMin(signalList.size(), signalLimit));
    for (CanSignalData& signal : signalList) {
        signal.plotted = true;
        CanFrames frame;
        frame.frameId = signal.frameId;
        frame.length = signal.requiredLength == -1 ? 64 : signal.requiredLength;
        std::memcpy(frame.payload, data, qMin(size, sizeof frame.payload));
        FrameIndex index;
        signalCurve(signal, {frame}, index);
        if (signal.muxLength < slowFieldLength &&
            !curveDifference(signal, {frame, frame}).isEmpty()) {
            std::abort();
        }
    }
    return 0;
}
