// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/frame.h"

#include <QIODevice>
#include <QtEndian>
#include <exception>
#include <limits>

std::string comm::makeFrame(const std::string& payload)
{
    if (payload.size() > std::numeric_limits<quint32>::max()) {
        std::terminate();
    }
    std::string frame(sizeof(quint32), '\0');
    qToLittleEndian(static_cast<quint32>(payload.size()), frame.data());
    return frame += payload;
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
