// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/frame.h"

#include "comm/trace.h"

#include <QIODevice>
#include <QtEndian>
#include <array>
#include <exception>
#include <limits>

namespace comm {

namespace {

constexpr qint64 headerSize = sizeof(quint32);

// Reads exactly size bytes, or leaves them all in the device.
bool readWhole(QIODevice& device, char* target, qint64 size)
{
    device.startTransaction();
    if (device.read(target, size) != size) {
        device.rollbackTransaction();
        return false;
    }
    device.commitTransaction();
    return true;
}

bool takeHeader(QIODevice& device, quint32& frameLength)
{
    std::array<char, headerSize> header{};
    if (device.bytesAvailable() < headerSize || !readWhole(device, header.data(), headerSize)) {
        return false;
    }
    frameLength = qFromLittleEndian<quint32>(header.data());
    return true;
}

} // namespace

std::string makeFrame(std::string payload)
{
    if (payload.size() > std::numeric_limits<quint32>::max()) {
        std::terminate();
    }
    std::array<char, headerSize> header{};
    qToLittleEndian(static_cast<quint32>(payload.size()), header.data());
    payload.insert(0, header.data(), header.size());
    return payload;
}

std::optional<std::string> takeFrame(QIODevice& device, quint32& readState, quint32& frameLength)
{
    traceLine("dataAvaliable ", device.bytesAvailable());
    if (readState == AwaitsHeader) {
        if (!takeHeader(device, frameLength)) {
            return std::nullopt;
        }
        readState = AwaitsPayload;
        traceLine("Header:  ", frameLength);
    }

    const qint64 available = device.bytesAvailable();
    traceLine("Wait for data:  ", frameLength, "/", available);
    if (available < static_cast<qint64>(frameLength)) {
        return std::nullopt;
    }
    std::string payload(frameLength, '\0');
    if (!readWhole(device, payload.data(), frameLength)) {
        return std::nullopt;
    }
    traceLine("Red:  ", payload.size());
    return payload;
}

} // namespace comm
