// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QVector>
#include <limits>

// One CAN frame of an imported trace, despite the plural.
struct CanFrames
{
    double frameTime = 0.0; // place on the chart's time axis; unit and origin are the reader's
    int busNumber = 0;      // 0 from readers that do not tell buses apart
    int frameId = 0;
    int length = 0; // bytes of payload that count; as a file states it, so negative or huge as well
    unsigned char payload[64] = {};
};
Q_DECLARE_TYPEINFO(CanFrames, Q_PRIMITIVE_TYPE);

namespace formats {

// The bytes of a frame that can be looked at: its stated length, kept inside the payload.
inline int payloadSize(const CanFrames& frame)
{
    return qBound(0, frame.length, static_cast<int>(sizeof frame.payload));
}

// A QVector holds at most 2 GiB, and ends the program when asked for more.
constexpr int MaxFrameCount =
    static_cast<int>((std::numeric_limits<int>::max() - sizeof(QArrayData)) / sizeof(CanFrames));

} // namespace formats
