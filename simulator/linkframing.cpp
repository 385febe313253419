// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linkframing.h"

#include <QtEndian>
#include <cstring>

namespace simulator {

namespace {

constexpr int headerSize = 4;

// Makes room for a frame behind what is there, and returns where its payload goes.
char* beginFrame(QByteArray& line, quint32 size)
{
    const int start = line.size();
    line.resize(start + headerSize + static_cast<int>(size));
    qToLittleEndian(size, line.data() + start);
    return line.data() + start + headerSize;
}

} // namespace

void appendFrame(QByteArray& line, const google::protobuf::MessageLite& message)
{
    char* payload = beginFrame(line, static_cast<quint32>(message.ByteSizeLong()));
    message.SerializeWithCachedSizesToArray(reinterpret_cast<quint8*>(payload));
}

void appendFrame(QByteArray& line, const char* payload, quint32 size)
{
    std::memcpy(beginFrame(line, size), payload, size);
}

void FrameReader::append(const QByteArray& bytes)
{
    buffer.remove(0, consumed);
    consumed = 0;
    const int passed = static_cast<int>(qMin<quint64>(passedOver, bytes.size()));
    passedOver -= passed;
    buffer.append(bytes.constData() + passed, bytes.size() - passed);
}

bool FrameReader::next(std::string& payload)
{
    while (buffer.size() - consumed >= headerSize) {
        const char* header = buffer.constData() + consumed;
        const quint64 frame = quint64(qFromLittleEndian<quint32>(header)) + headerSize;
        const quint64 available = buffer.size() - consumed;
        if (frame > longestPayload + headerSize) {
            const quint64 passed = qMin(frame, available);
            consumed += static_cast<int>(passed);
            passedOver = frame - passed;
            continue;
        }
        if (available < frame) {
            return false;
        }
        payload.assign(header + headerSize, frame - headerSize);
        consumed += static_cast<int>(frame);
        return true;
    }
    return false;
}

void FrameReader::clear()
{
    *this = FrameReader();
}

} // namespace simulator
