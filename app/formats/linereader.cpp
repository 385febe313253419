// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"

#include "formats/textfield.h"

#include <QTextCodec>
#include <algorithm>
#include <cstring>

namespace formats {

namespace {

constexpr int BlockSize = 1 << 16;

enum class Mark { None, Utf8, Other };

Mark byteOrderMark(QIODevice& device)
{
    const QByteArray head = device.peek(4);
    if (head.startsWith("\xef\xbb\xbf")) {
        return Mark::Utf8;
    }
    return QTextCodec::codecForUtfText(head, nullptr) != nullptr ? Mark::Other : Mark::None;
}

// Bytes of a character that the end of a text cuts off. QTextStream drops them, while in the midst
// of a text they are characters of some kind.
std::size_t cutCharacterSize(std::string_view text)
{
    constexpr std::size_t longestCut = 3;
    for (std::size_t size = 1; size <= std::min(longestCut, text.size()); ++size) {
        const auto byte = static_cast<unsigned char>(text[text.size() - size]);
        const bool isContinuation = byte >= 0x80 && byte < 0xc0;
        if (!isContinuation) {
            const std::size_t whole = byte >= 0xf0 ? 4 : byte >= 0xe0 ? 3 : 2;
            return byte >= 0xc2 && byte <= 0xf4 && size < whole ? size : 0;
        }
    }
    return 0;
}

} // namespace

LineReader::LineReader(QIODevice& source, Content contentKind, char lineSeparator)
    : device(source)
    , content(contentKind)
    , separator(lineSeparator)
    , ended(!source.isOpen())
{
    if (content == Bytes || ended) {
        return;
    }
    switch (byteOrderMark(device)) {
    case Mark::None:
        break;
    case Mark::Utf8:
        device.skip(3);
        break;
    case Mark::Other:
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
            const std::size_t cut = content == Text ? cutCharacterSize(rest) : 0;
            begin = end;
            ended = cut == rest.size();
            return rest.substr(0, rest.size() - cut);
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
