// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logfile.h"

#include "formats/channels.h"
#include "formats/linereader.h"
#include "formats/textfield.h"

#include <charconv>

namespace formats {

namespace {

// Takes off the first part of a line between ";", empty ones included. None are left behind the
// last one.
std::string_view takePart(std::optional<std::string_view>& rest)
{
    const std::size_t size = rest->find(';');
    const std::string_view part = rest->substr(0, size);
    const bool isLast = size == std::string_view::npos;
    rest = isLast ? std::nullopt : std::optional(rest->substr(size + 1));
    return part;
}

// The next part as decimalInt() reads it; quickly what the console writes.
int takeInt(std::optional<std::string_view>& rest)
{
    int value = 0;
    const char* const end = rest->data() + rest->size();
    const auto [stop, error] = std::from_chars(rest->data(), end, value);
    if (error == std::errc() && stop != end && *stop == ';') {
        rest->remove_prefix(static_cast<std::size_t>(stop + 1 - rest->data()));
        return value;
    }
    return decimalInt(takePart(rest));
}

QString shownText(std::string_view part)
{
    return textOf(part).left(LongestShownText);
}

} // namespace

QByteArray logHeaderLine(const QVector<QString>& labels)
{
    QString line = QStringLiteral("#;timestamp;");
    for (const QString& label : labels) {
        line += label + QLatin1Char(';');
    }
    line += QLatin1Char('\n');
    return line.toUtf8();
}

LogFields splitLogLine(std::string_view line)
{
    constexpr std::string_view mark = "\xef\xbb\xbf";
    line = line.substr(0, line.find('\0'));
    if (line.substr(0, mark.size()) == mark) {
        line.remove_prefix(mark.size());
    }
    LogFields fields;
    const std::size_t numberSize = line.find(';');
    if (numberSize == std::string_view::npos) {
        return fields;
    }
    fields.number = line.substr(0, numberSize);
    line.remove_prefix(numberSize + 1);
    const std::size_t timeSize = line.find(';');
    fields.time = line.substr(0, timeSize);
    if (timeSize != std::string_view::npos) {
        fields.rest = line.substr(timeSize + 1);
    }
    fields.kind = fields.number == "#"   ? LogFields::Header
                  : fields.number == "$" ? LogFields::Tag
                                         : LogFields::Record;
    return fields;
}

void composeLogLine(
    std::string& line, unsigned int sampleNumber, unsigned int timestamp,
    const std::vector<int>& values)
{
    line.resize((2 + values.size()) * (MaxDecimalLength + 1) + 1);
    char* out = line.data();
    out = putDecimal(out, sampleNumber);
    *out++ = ';';
    out = putDecimal(out, timestamp);
    *out++ = ';';
    for (const int value : values) {
        out = putDecimal(out, value);
        *out++ = ';';
    }
    *out++ = '\n';
    line.resize(static_cast<std::size_t>(out - line.data()));
}

QByteArray logTagLine(int timestamp, const QString& text)
{
    return QStringLiteral("$;%1;%2\n").arg(timestamp).arg(text).toUtf8();
}

void readLog(QIODevice& device, int columnLimit, const LogTakers& take)
{
    LineReader lines(device, LineReader::Bytes);
    std::vector<int> values;
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        LogFields fields = splitLogLine(line);
        QStringList labels;
        switch (fields.kind) {
        case LogFields::None:
            break;
        case LogFields::Header:
            while (fields.rest && labels.size() < ChannelTotal) {
                labels.append(shownText(takePart(fields.rest)));
            }
            take.header(labels);
            break;
        case LogFields::Tag:
            if (fields.rest) {
                take.tag(decimalInt(fields.time), shownText(takePart(fields.rest)).trimmed());
                break;
            }
            [[fallthrough]]; // one without a text has a time, too
        case LogFields::Record:
            values.clear();
            while (fields.rest && static_cast<int>(values.size()) < columnLimit) {
                values.push_back(takeInt(fields.rest));
            }
            take.record(decimalInt(fields.time), values);
            break;
        }
    }
}

} // namespace formats
