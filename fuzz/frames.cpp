// SPDX-License-Identifier: GPL-3.0-or-later

// A byte stream, cut at arbitrary places, through the frame reader: exactly the payloads that stand
// in the stream come out, in order.
#include "comm/frame.h"

#include <QIODevice>
#include <QtEndian>
#include <cstdlib>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>

namespace {

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
        while (length || (length = comm::takeLength(*this))) {
            const std::optional<std::string> payload = comm::takePayload(*this, *length);
            if (!payload) {
                return;
            }
            deliver(*payload);
            length.reset();
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
    std::optional<quint32> length; // of the payload that comes next
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    Feed line;
    std::string stream;
    std::string frames;
    while (input.remaining_bytes() > 0) {
        // The size of a piece is taken from the end of the input, its bytes from the front.
        const std::string piece =
            input.ConsumeBytesAsString(input.ConsumeIntegralInRange<std::size_t>(0, 40));
        stream += piece;
        line.feed(piece, [&](const std::string& payload) { frames += comm::makeFrame(payload); });
    }
    const std::size_t left = stream.size() - frames.size();
    const auto nextLength = [&] { return qFromLittleEndian<quint32>(&stream[frames.size()]); };
    if (stream.compare(0, frames.size(), frames) != 0 || (left >= 4 && nextLength() <= left - 4)) {
        std::abort();
    }
    return 0;
}
