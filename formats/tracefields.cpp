// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/tracefields.h"

#include "formats/linereader.h"
#include "formats/textfield.h"

#include <algorithm>

namespace formats {

namespace {

std::string_view takePart(std::string_view& rest)
{
    constexpr std::string_view arrow = " -> ";
    while (rest.substr(0, arrow.size()) == arrow) {
        rest.remove_prefix(arrow.size());
    }
    const std::size_t size = rest.find(arrow);
    const std::string_view part = rest.substr(0, size);
    rest.remove_prefix(size == std::string_view::npos ? rest.size() : size + arrow.size());
    return part;
}

std::string_view valueOf(std::string_view assignment)
{
    takeField(assignment, '=');
    return takeField(assignment, '=');
}

// Time, " -> ", and parts separated by ":": a word, identifier and length as "name=value", bytes.
bool splitTxt(std::string_view line, TraceFields& fields)
{
    fields.time = takePart(line);
    std::string_view description = takePart(line);
    takeWord(description, ':');
    fields.id = valueOf(takeWord(description, ':'));
    fields.length = valueOf(takeWord(description, ':'));
    fields.data = description;
    return true;
}

// Identifier and bytes stand before and behind "##" if there is one, else "#".
bool splitCandump(std::string_view line, TraceFields& fields)
{
    const std::string_view fdMarker = "##";
    fields.time = takeWord(line, ' ');
    fields.bus = takeWord(line, ' ');
    std::string_view data = takeWord(line, ' ');
    fields.isFd = data.find(fdMarker) != std::string_view::npos;
    const std::string_view separator = fields.isFd ? fdMarker : "#";
    fields.id = data.substr(0, data.find(separator));
    data.remove_prefix(std::min(fields.id.size() + separator.size(), data.size()));
    fields.data = data.substr(0, data.find(separator));
    return true;
}

bool splitTrc(std::string_view line, TraceFields& fields)
{
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    fields.time = takeWord(line, '\t');
    if (takeWord(line, '\t').empty()) {
        return false;
    }
    skipWords(line, '\t', 1);
    fields.id = takeWord(line, '\t');
    fields.length = takeWord(line, '\t');
    fields.data = takeWord(line, '\t');
    return true;
}

bool splitCsv(std::string_view line, TraceFields& fields)
{
    constexpr int leastFieldCount = 13;
    if (std::count(line.begin(), line.end(), ',') + 1 < leastFieldCount) {
        return false;
    }
    takeField(line, ','); // the type
    fields.time = takeField(line, ',');
    fields.id = takeField(line, ',');
    fields.data = line;
    return true;
}

// A .trace file. Comments stand behind ";".
bool splitDotTrace(std::string_view line, TraceFields& fields)
{
    if (line.front() == ';') {
        return false;
    }
    takeWord(line, ' '); // the message number
    fields.time = takeWord(line, ' ');
    takeWord(line, ' ');
    fields.id = takeWord(line, ' ');
    fields.length = takeWord(line, ' ');
    fields.data = line;
    return true;
}

bool splitAsc(std::string_view line, TraceFields& fields)
{
    fields.time = takeWord(line, ' ');
    fields.bus = takeWord(line, ' ');
    fields.isFd = fields.bus == "CANFD";
    fields.data = line;
    return true;
}

} // namespace

LineSplitter lineSplitter(TraceKind kind)
{
    switch (kind) {
    case TraceKind::Txt:
        return splitTxt;
    case TraceKind::Candump:
        return splitCandump;
    case TraceKind::Trc:
        return splitTrc;
    case TraceKind::Csv:
        return splitCsv;
    case TraceKind::Asc:
        return splitAsc;
    case TraceKind::DotTrace:
        break;
    }
    return splitDotTrace;
}

void splitAscData(TraceFields& fields, int nameWords)
{
    skipWords(fields.data, ' ', fields.isFd ? 2 : 0); // channel and direction
    fields.id = takeWord(fields.data, ' ');
    skipWords(fields.data, ' ', nameWords + (fields.isFd ? 3 : 2));
    fields.length = takeWord(fields.data, ' ');
}

QTime timeOfDay(std::string_view text)
{
    constexpr std::string_view pattern = "00:00:00.000";
    const auto fits = [](char c, char place) {
        return place == '0' ? c >= '0' && c <= '9' : c == place;
    };
    if (std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(), fits)) {
        const auto number = [text](int from, int size) {
            return decimalInt(text.substr(from, size));
        };
        return QTime(number(0, 2), number(3, 2), number(6, 2), number(9, 3));
    }
    // A hundred times slower.
    return QTime::fromString(textOf(text), QStringLiteral("HH:mm:ss.zzz"));
}

bool skipToCsvFrames(LineReader& lines)
{
    constexpr std::string_view marker = "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD";
    while (lines.nextTrimmed() != marker) {
        if (lines.atEnd()) {
            return false;
        }
    }
    return true;
}

} // namespace formats
