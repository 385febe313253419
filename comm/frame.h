// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>
#include <optional>
#include <string>

class QIODevice;

namespace comm {

// A frame of the link, the same in both directions: the length of the payload as 32 bits,
// little-endian, then the payload. Nothing marks where a frame starts, so a reader that gets out
// of step cannot recover.

// The payload with its length in front. A payload above 4 GiB - 1 ends the program.
std::string makeFrame(const std::string& payload);

// Take the length of a frame from the device, and so many bytes of payload; nothing, with all bytes
// left in the device, while some are missing. Memory is taken only for a payload that has arrived
// whole, whatever length was announced.
std::optional<quint32> takeLength(QIODevice& device);
std::optional<std::string> takePayload(QIODevice& device, quint32 length);

} // namespace comm
