// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logrecords.h"

#include "formats/channels.h"
#include "formats/linereader.h"
#include "formats/logfile.h"
#include "formats/textfield.h"

#include <algorithm>

namespace formats {

namespace {

// Tags have the time of the latest record, printed with a sign: -1 if there was none, unless the
// clock really stood there.
std::optional<std::uint32_t> tagTime(std::string_view text, std::optional<std::uint32_t> latest)
{
    const auto time = plainNumber<std::int64_t>(text);
    if (!time || (*time == -1 && latest != 0xffffffff)) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(*time);
}

// Counts values, each closed by ";" and with a ";" ahead of the first. Returns whether they are
// there and fit into 32 bits for sure, which those of ten digits may not. The loops have no
// branches, so that the compiler makes them work on 16 bytes at a time.
bool arePlain(std::string_view values, std::string& scratch, std::size_t& width)
{
    constexpr std::size_t piece = 255; // what a byte counts
    const std::size_t size = values.size();
    const char* const in = values.data();
    scratch.resize(size);
    char* const pairs = scratch.data(); // 1 where two digits end
    unsigned char bad = 0;
    width = 0;
    for (std::size_t begin = 0; begin < size; begin += piece) {
        unsigned char ends = 0;
        for (std::size_t i = begin; i < std::min(begin + piece, size); ++i) {
            const char c = in[i];
            const char before = *(in + i - 1);
            const char isDigit = ((c >= '0') & (c <= '9')) ? 1 : 0;
            const char isEnd = c == ';' ? 1 : 0;
            const char isSign = c == '-' ? 1 : 0;
            const char isBehindDigit = ((before >= '0') & (before <= '9')) ? 1 : 0;
            const char isBehindEnd = before == ';' ? 1 : 0;
            pairs[i] = isDigit & isBehindDigit;
            bad |= (isDigit | (isEnd & isBehindDigit) | (isSign & isBehindEnd)) ^ 1;
            ends = static_cast<unsigned char>(ends + isEnd);
        }
        width += ends;
    }
    for (std::size_t i = 8; i < size; ++i) {
        bad |= pairs[i] & pairs[i - 2] & pairs[i - 4] & pairs[i - 6] & pairs[i - 8];
    }
    return bad == 0;
}

class LogReader
{
public:
    LogReader(QIODevice& device, RecordingTarget& logTarget, const WarningFunction& warnFunction)
        : lines(device, LineReader::Bytes)
        , target(logTarget)
        , warn(warnFunction)
    {}

    void read()
    {
        for (auto line = lines.next(); !line.empty(); line = lines.next()) {
            readLine(line);
        }
    }

private:
    void readLine(std::string_view line)
    {
        const bool isWhole = line.back() == '\n';
        line = line.substr(0, line.find_last_not_of("\r\n") + 1);
        const LogFields fields = splitLogLine(line);
        if (fields.kind == LogFields::Tag && fields.rest) {
            if (!isWhole) {
                warnHere("torn line");
            }
            target.addTag(tagTime(fields.time, latest), utf8(*fields.rest));
        } else if (!isWhole) {
            warnHere(
                line.size() < LineReader::LongestLine ? "torn line, left out"
                                                      : "a line of 1 MiB or more, left out");
        } else if (fields.kind == LogFields::Header && fields.rest) {
            if (lines.lineNumber() > 1) {
                warnHere("another header; the last one names the columns");
            }
            target.addHeader(labelsIn(*fields.rest));
        } else if (!line.empty()) {
            readRecord(line, fields);
        }
    }

    std::string utf8(std::string_view bytes)
    {
        const QByteArray text = textOf(bytes).toUtf8();
        if (text != QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()))) {
            warnHere("bytes that are not UTF-8, replaced");
        }
        return text.toStdString();
    }

    std::vector<std::string> labelsIn(std::string_view text)
    {
        std::vector<std::string> labels;
        while (text.find(';') != std::string_view::npos && labels.size() < ChannelTotal) {
            labels.push_back(utf8(takeField(text, ';')));
        }
        return labels;
    }

    void readRecord(std::string_view line, const LogFields& fields)
    {
        const auto sample = plainNumber<std::uint32_t>(fields.number);
        const auto time = plainNumber<std::uint32_t>(fields.time);
        const std::string_view values = fields.rest.value_or(std::string_view());
        // Fields that a zero byte cuts lack what stands behind.
        const bool isCut =
            line.back() != ';' || values.data() + values.size() != line.data() + line.size();
        if (fields.kind != LogFields::Record || !sample || !time || isCut) {
            warnHere("not a record, left out");
            return;
        }
        warnOfClock(latest, *time, warn, lines.lineNumber());
        LogRecord record{*sample, *time, values, 0, false, lines.lineNumber()};
        if (target.ignoresValues) {
            record.width = static_cast<std::size_t>(std::count(values.begin(), values.end(), ';'));
        } else if (!arePlain(values, scratch, record.width)) {
            clean(record);
        }
        if (latest && record.width != latestWidth) {
            warnHere("another number of values than in the record before");
        }
        latest = time;
        latestWidth = record.width;
        target.addRecord(record);
    }

    // Leaves out the values that are none.
    void clean(LogRecord& record)
    {
        scratch.clear();
        for (std::string_view rest = record.values; !rest.empty();) {
            const std::string_view field = takeField(rest, ';');
            if (plainNumber<std::int32_t>(field)) {
                scratch += field;
            } else {
                record.hasGaps = true;
                if (!field.empty()) {
                    warnHere("a value that is no number of 32 bits, taken as missing");
                }
            }
            scratch += ';';
        }
        record.values = scratch;
    }

    void warnHere(const char* what) { warn(what, lines.lineNumber()); }

    LineReader lines;
    RecordingTarget& target;
    const WarningFunction& warn;
    std::string scratch;
    std::optional<std::uint32_t> latest; // time of a record
    std::size_t latestWidth = 0;
};

} // namespace

void warnOfClock(
    std::optional<std::uint32_t> before, std::uint32_t time, const WarningFunction& warn,
    std::int64_t line)
{
    constexpr std::uint32_t halfRound = 1U << 31;
    if (before && time < *before) {
        warn(
            time - *before < halfRound ? "the clock has wrapped round at 2^32 ms; times start anew"
                                       : "the clock goes back; times are those of the file",
            line);
    }
}

void readRecords(QIODevice& device, RecordingTarget& target, const WarningFunction& warn)
{
    LogReader(device, target, warn).read();
}

// The text in square brackets at the end of a label, ahead of what the console adds in parentheses.
std::string unitOf(std::string_view label)
{
    label = label.substr(0, label.rfind(" ("));
    const std::size_t open = label.rfind('[');
    const bool hasUnit = !label.empty() && label.back() == ']' && open != std::string_view::npos;
    return hasUnit ? std::string(label.substr(open + 1, label.size() - open - 2)) : "";
}

char* putSeconds(char* out, std::uint32_t milliseconds)
{
    out = formats::putDecimal(out, milliseconds / 1000);
    *out++ = '.';
    for (const std::uint32_t unit : {100U, 10U, 1U}) {
        *out++ = static_cast<char>('0' + milliseconds / unit % 10);
    }
    return out;
}

} // namespace formats
