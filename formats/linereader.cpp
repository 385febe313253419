// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"

#include "formats/textfield.h"

#include <algorithm>

namespace formats {

LineReader::LineReader(QIODevice& source, Content content, char lineSeparator)
    : device(source)
    , separator(lineSeparator)
    , ended(!source.isOpen())
{
    if (content == Bytes || ended) {
        return;
    }
    const QByteArray head = device.peek(4);
    if (head.startsWith("\xef\xbb\xbf")) {
        device.skip(3);
    } else if (
        head.startsWith("\xff\xfe") || head.startsWith("\xfe\xff") || // or UTF-32LE
        head == QByteArray("\0\0\xfe\xff", 4)) {
        decoder = std::make_unique<QTextStream>(&device);
    }
}

std::string_view LineReader::next()
{
    ++linesRead;
    std::size_t searched = 0; // bytes behind begin that hold no separator
    while (!ended) {
        const std::string_view rest(buffer.data() + begin, buffer.size() - begin);
        if (const std::size_t hit = rest.find(separator, searched); hit != std::string_view::npos) {
            begin += hit + 1;
            return rest.substr(0, std::min(hit + 1, LongestLine));
        }
        buffer.resize(std::min(buffer.size(), begin + LongestLine));
        searched = buffer.size() - begin;
        if (!readBlock()) {
            begin = buffer.size();
            ended = searched == 0;
            return {buffer.data(), searched};
        }
    }
    return {};
}

std::string_view LineReader::nextTrimmed()
{
    return trimmed(next(), trimmedText);
}

// Moves what has not been given out to the front of the buffer, and adds to it.
bool LineReader::readBlock()
{
    constexpr int blockSize = 1 << 16;
    QByteArray block;
    if (decoder != nullptr) {
        QString text = decoder->read(blockSize);
        if (!text.isEmpty() && text.at(text.size() - 1).isHighSurrogate()) {
            text += decoder->read(1);
        }
        block = text.toUtf8();
    } else {
        block = device.read(blockSize);
    }
    buffer.erase(0, begin).append(block.constData(), static_cast<std::size_t>(block.size()));
    begin = 0;
    return !block.isEmpty();
}

} // namespace formats
