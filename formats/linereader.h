// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QIODevice>
#include <QTextStream>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace formats {

// Cuts the content of a device into lines, a block at a time, so that a file of any size costs no
// more memory than its longest line, and that no more than LongestLine. Blocks are read and not
// mapped: a file that shrinks, or whose medium is removed, then ends early instead of ending the
// program.
class LineReader
{
public:
    enum Content {
        Bytes, // as they stand
        Text,  // UTF-8, or by byte order mark UTF-16 or UTF-32, which come out as UTF-8; no mark
    };

    // In bytes. The rest of a longer line is passed over, its separator too: a file without lines,
    // chosen by mistake, may have gigabytes.
    static constexpr std::size_t LongestLine = 1 << 20;

    // A device that is not open reads as empty.
    LineReader(QIODevice& source, Content content, char lineSeparator = '\n');

    // The next line with its separator, which only a cut or the last line may lack; empty at the
    // end. Valid until the next call.
    std::string_view next();

    // The next line of a text without white space at either end, as QString::trimmed knows it.
    std::string_view nextTrimmed();

    // Whether next() or nextTrimmed() has come to the end.
    bool atEnd() const { return ended; }

    // Of the line that was given out last, counted from 1.
    std::int64_t lineNumber() const { return linesRead; }

private:
    bool readBlock();

    QIODevice& device;
    std::unique_ptr<QTextStream> decoder; // for UTF-16 and UTF-32
    const char separator;
    std::string buffer;
    std::size_t begin = 0; // of what has not been given out
    std::int64_t linesRead = 0;
    bool ended = false;
    QByteArray trimmedText;
};

} // namespace formats
