// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <google/protobuf/message_lite.h>
#include <string>

namespace simulator {

// The controller's own end of the framing: 32-bit little-endian payload length, then the payload.
// It shares nothing with the PC's end on purpose, so that the two check each other.

void appendFrame(QByteArray& line, const google::protobuf::MessageLite& message);

// Puts the frames together again from bytes that were cut anywhere. There is no way back after a
// wrong length, as on the real line: the reader waits until so many bytes have come.
class FrameReader
{
public:
    void append(const QByteArray& bytes);
    // Takes the next whole payload; false if there is none yet.
    bool next(std::string& payload);
    void clear() { *this = FrameReader(); }

private:
    QByteArray buffer;
    int consumed = 0; // bytes at the start of the buffer that were handed out
};

} // namespace simulator
