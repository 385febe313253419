// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/frame.h"

#include <QIODevice>
#include <QtEndian>
#include <array>
#include <exception>
#include <limits>

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

} // namespace

std::string comm::makeFrame(std::string payload)
{
    if (payload.size() > std::numeric_limits<quint32>::max()) {
        std::terminate();
    }
    std::array<char, headerSize> header{};
    qToLittleEndian(static_cast<quint32>(payload.size()), header.data());
    payload.insert(0, header.data(), header.size());
    return payload;
}

std::optional<quint32> comm::takeLength(QIODevice& device)
{
    std::array<char, headerSize> header{};
    if (device.bytesAvailable() < headerSize || !readWhole(device, header.data(), headerSize)) {
        return std::nullopt;
    }
    return qFromLittleEndian<quint32>(header.data());
}

std::optional<std::string> comm::takePayload(QIODevice& device, quint32 length)
{
    if (device.bytesAvailable() < static_cast<qint64>(length)) {
        return std::nullopt;
    }
    std::string payload(length, '\0');
    if (!readWhole(device, payload.data(), length)) {
        return std::nullopt;
    }
    return payload;
}
