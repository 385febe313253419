// SPDX-License-Identifier: GPL-3.0-or-later

// A byte stream, cut at arbitrary places, through the frame reader: exactly the payloads that stand
// in the stream come out, in order.
#include "comm/frame.h"

#include <QBuffer>
#include <QtEndian>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    QBuffer line;
    line.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    std::optional<quint32> length;
    QByteArray frames;
    while (input.remaining_bytes() > 0) {
        // The size of a piece is taken from the end of the input, its bytes from the front.
        const auto pieceSize = input.ConsumeIntegralInRange<std::size_t>(0, 40);
        line.buffer() += QByteArray::fromStdString(input.ConsumeBytesAsString(pieceSize));
        while ((length = length ? length : comm::takeLength(line))) {
            const auto payload = comm::takePayload(line, *length);
            if (!payload) {
                break;
            }
            frames += QByteArray::fromStdString(comm::makeFrame(*payload));
            length.reset();
        }
    }
    const QByteArray rest = line.buffer().mid(frames.size());
    const bool isWhole =
        rest.size() >= 4 && qFromLittleEndian<quint32>(rest.constData()) <= rest.size() - 4U;
    if (!line.buffer().startsWith(frames) || isWhole) {
        std::abort();
    }
    return 0;
}
