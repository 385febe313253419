// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/hexdump.h"

#include "platform/diagnostics.h"

#include <QByteArray>
#include <algorithm>

void hexdump(const void* data, std::size_t size)
{
    constexpr std::size_t bytesPerLine = 16;
    const auto isUnprintable = [](char byte) { return byte < 0x20 || byte >= 0x7f; };
    for (std::size_t offset = 0; offset < size; offset += bytesPerLine) {
        const QByteArray bytes(
            static_cast<const char*>(data) + offset, int(std::min(bytesPerLine, size - offset)));
        QByteArray text = bytes;
        std::replace_if(text.begin(), text.end(), isUnprintable, '.');
        const QByteArray place = QByteArray::number(qulonglong(offset), 16).rightJustified(8, '0');
        const QByteArray hexadecimal = bytes.toHex(' ').leftJustified(3 * bytesPerLine - 1);
        platform::printLine((place + "  " + hexadecimal + "  |" + text + "|").constData());
    }
}
