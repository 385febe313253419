// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <optional>
#include <string>

class QIODevice;

namespace comm {

// A frame of the link, the same in both directions: the length of the payload as 32 bits,
// little-endian, then the payload. Nothing marks where a frame starts, so a reader that loses count
// does not find its way back.

enum FrameState : quint32 { AwaitsHeader = 0, AwaitsPayload = 1 };

// The payload with its length in front. A payload above 4 GiB - 1 ends the program.
std::string makeFrame(std::string payload);

// One pass over the bytes that the device holds. Gives the payload of the next frame, or nothing
// when bytes are still missing; what was taken until then stands in readState (a FrameState) and
// frameLength (bytes), which the caller keeps for the next pass. After a payload readState is still
// AwaitsPayload: the caller resets it when the payload has been handled. Traces its steps. Memory
// is taken only for a payload that has arrived whole, whatever length was announced.
std::optional<std::string> takeFrame(QIODevice& device, quint32& readState, quint32& frameLength);

} // namespace comm
