// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/frame.h"

#include <QIODevice>
#include <QtEndian>
#include <array>
#include <exception>
#include <limits>

std::string comm::makeFrame(std::string payload)
{
    if (payload.size() > std::numeric_limits<quint32>::max()) {
        std::terminate();
    }
    std::array<char, sizeof(quint32)> header{};
    qToLittleEndian(static_cast<quint32>(payload.size()), header.data());
    payload.insert(0, header.data(), header.size());
    return payload;
}

std::optional<quint32> comm::takeLength(QIODevice& device)
{
    const std::optional<std::string> header = takePayload(device, sizeof(quint32));
    return header ? std::optional(qFromLittleEndian<quint32>(header->data())) : std::nullopt;
}

std::optional<std::string> comm::takePayload(QIODevice& device, quint32 length)
{
    if (device.bytesAvailable() < static_cast<qint64>(length)) {
        return std::nullopt;
    }
    std::string payload(length, '\0');
    device.startTransaction();
    if (device.read(payload.data(), length) != static_cast<qint64>(length)) {
        device.rollbackTransaction();
        return std::nullopt;
    }
    device.commitTransaction();
    return payload;
}
