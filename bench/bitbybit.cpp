// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/bitbybit.h"

#include "support/literalimport.h"

#include <cstring>
#include <optional>

void drawBitByBit(
    const CanSignalData& signal, const QVector<CanFrames>& frames,
    const std::function<void(GraphPoint)>& addPoint)
{
    const bool leastFirst = signal.showMode % 2 != 0;
    const quint64 bound = quint64{1} << signal.bitLength % 64;
    std::optional<double> previous;
    for (const CanFrames& frame : frames) {
        if (frame.frameId != signal.frameId ||
            (signal.requiredLength != -1 && frame.length != signal.requiredLength)) {
            continue;
        }
        const auto field = [&](int offset, int length) {
            return literal::readField(frame, leastFirst, offset, length);
        };
        if (signal.muxLength != 0 &&
            field(signal.muxOffset, signal.muxLength) != static_cast<quint64>(signal.muxValue)) {
            continue;
        }
        const quint64 bits = field(signal.bitOffset, signal.bitLength);
        const bool isNegative = signal.showMode >= 3 && (bits & bound >> 1) != 0;
        const double value = isNegative
                                 ? static_cast<double>(static_cast<qint64>(bits | ~(bound - 1)))
                                 : static_cast<double>(bits);
        const double y = value * signal.multiplier + signal.addend;
        if (previous) {
            addPoint({frame.frameTime, *previous});
        }
        addPoint({frame.frameTime, y});
        previous = y;
    }
}
