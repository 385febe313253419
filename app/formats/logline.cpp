// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logline.h"

#include "formats/textfield.h"

namespace formats {

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
    fields.hasRest = timeSize != std::string_view::npos;
    fields.time = line.substr(0, timeSize);
    fields.rest = fields.hasRest ? line.substr(timeSize + 1) : std::string_view();
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

} // namespace formats
