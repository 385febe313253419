// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"

#include "formats/textfield.h"

#include <QTextCodec>
#include <algorithm>
#include <cstring>

namespace formats {

namespace {

constexpr int BlockSize = 1 << 16;

} // namespace

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
    } else if (QTextCodec::codecForUtfText(head, nullptr) != nullptr) {
        decoder = std::make_unique<QTextStream>(&device);
    }
}

std::string_view LineReader::next()
{
    std::size_t searched = 0; // bytes behind begin that hold no separator
    while (!ended) {
        const char* line = buffer.data() + begin;
        const void* hit = std::memchr(line + searched, separator, end - begin - searched);
        if (hit != nullptr) {
            const auto size = static_cast<std::size_t>(static_cast<const char*>(hit) - line) + 1;
            begin += size;
            return {line, size};
        }
        searched = end - begin;
        if (!readBlock()) {
            const std::string_view rest(buffer.data(), searched);
            begin = end;
            ended = rest.empty();
            return rest;
        }
    }
    return {};
}

std::string_view LineReader::nextTrimmed()
{
    return trimmed(next(), trimmedText);
}

bool LineReader::readBlock()
{
    std::memmove(buffer.data(), buffer.data() + begin, end - begin);
    end -= begin;
    begin = 0;
    if (decoder != nullptr) {
        QString text = decoder->read(BlockSize);
        if (!text.isEmpty() && text.at(text.size() - 1).isHighSurrogate()) {
            text += decoder->read(1);
        }
        const QByteArray bytes = text.toUtf8();
        makeRoom(bytes.size());
        std::memcpy(buffer.data() + end, bytes.constData(), static_cast<std::size_t>(bytes.size()));
        end += static_cast<std::size_t>(bytes.size());
        return !bytes.isEmpty();
    }
    makeRoom(BlockSize);
    const qint64 size = device.read(buffer.data() + end, BlockSize);
    end += static_cast<std::size_t>(std::max<qint64>(size, 0));
    return size > 0;
}

void LineReader::makeRoom(int size)
{
    const std::size_t needed = end + static_cast<std::size_t>(size);
    if (buffer.size() < needed) {
        buffer.resize(std::max(needed, 2 * buffer.size()));
    }
}

} // namespace formats
