// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/linereader.h"
#include "formats/textfield.h"
#include "formats/tracereaders.h"

#include <QTime>

namespace formats {

namespace {

constexpr std::string_view arrow = " -> ";

std::string_view takePart(std::string_view& rest)
{
    while (rest.substr(0, arrow.size()) == arrow) {
        rest.remove_prefix(arrow.size());
    }
    const std::size_t size = rest.find(arrow);
    const std::string_view part = rest.substr(0, size);
    rest.remove_prefix(size == std::string_view::npos ? rest.size() : size + arrow.size());
    return part;
}

// The value of two or three digits; negative if there is another character.
int digits(std::string_view text)
{
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return -1;
        }
        value = 10 * value + (c - '0');
    }
    return value;
}

QTime timeOfDay(std::string_view text)
{
    if (text.size() == 12 && text[2] == ':' && text[5] == ':' && text[8] == '.') {
        const QTime time(
            digits(text.substr(0, 2)), digits(text.substr(3, 2)), digits(text.substr(6, 2)),
            digits(text.substr(9, 3)));
        if (time.isValid()) {
            return time;
        }
    }
    return QTime::fromString(textOf(text), QStringLiteral("HH:mm:ss.zzz"));
}

std::string_view valueOf(std::string_view assignment)
{
    takeField(assignment, '=');
    return takeField(assignment, '=');
}

} // namespace

int readTxt(QIODevice& device, TraceImport& import)
{
    LineReader lines(device, LineReader::Text);
    CanFrames frame;
    QTime base;
    int count = 0;
    for (auto line = lines.nextTrimmed(); !line.empty(); line = lines.nextTrimmed()) {
        const QTime time = timeOfDay(takePart(line));
        if (count == 0) {
            base = time;
        }
        frame.frameTime = base.msecsTo(time); // 0 if either is no time; negative past midnight
        std::string_view description = takePart(line);
        takeWord(description, ':');
        frame.frameId = decimalInt(valueOf(takeWord(description, ':')));
        takeWord(description, ':'); // the length; the bytes themselves tell it
        frame.length = decodeHex(description, frame.payload, sizeof frame.payload);
        import.append(frame);
        ++count;
    }
    return count;
}

} // namespace formats
