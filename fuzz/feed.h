// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/frame.h"

#include <QByteArray>
#include <QIODevice>
#include <algorithm>
#include <cstring>
#include <string>

// A line that holds what was fed to it, and the receive loop over it.
class Feed : public QIODevice
{
public:
    Feed() { open(QIODevice::ReadOnly); }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return bytes.size() + QIODevice::bytesAvailable(); }

    // Adds bytes and hands every payload that is whole by then to deliver.
    template <typename Deliver>
    void feed(const std::string& more, Deliver deliver)
    {
        bytes.append(more.data(), static_cast<int>(more.size()));
        while (auto payload = takeFrame(*this, readState, frameLength)) {
            deliver(*payload);
            readState = AwaitsHeader;
        }
    }

protected:
    qint64 readData(char* data, qint64 wanted) override
    {
        const int size = static_cast<int>(std::min<qint64>(wanted, bytes.size()));
        std::memcpy(data, bytes.constData(), static_cast<std::size_t>(size));
        bytes.remove(0, size);
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray bytes;
    quint32 readState = AwaitsHeader;
    quint32 frameLength = 0;
};
