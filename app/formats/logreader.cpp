// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logreader.h"

#include "formats/channels.h"
#include "formats/linereader.h"
#include "formats/logline.h"
#include "formats/textfield.h"

#include <QStringList>
#include <charconv>

namespace formats {

namespace {

// The parts of a line between ";", empty ones included.
class Parts
{
public:
    explicit Parts(const LogFields& fields)
        : rest(fields.rest)
        , more(fields.hasRest)
    {}

    bool hasNext() const { return more; }

    std::string_view next()
    {
        more = rest.find(';') != std::string_view::npos;
        return takeField(rest, ';');
    }

    // The next part as decimalInt() reads it; quickly what the console writes.
    int nextInt()
    {
        int value = 0;
        const char* const end = rest.data() + rest.size();
        const auto [stop, error] = std::from_chars(rest.data(), end, value);
        if (error == std::errc() && stop != end && *stop == ';') {
            rest.remove_prefix(static_cast<std::size_t>(stop + 1 - rest.data()));
            return value;
        }
        return decimalInt(next());
    }

private:
    std::string_view rest;
    bool more;
};

QStringList labelsIn(Parts& parts)
{
    QStringList labels;
    while (parts.hasNext() && labels.size() < ChannelTotal) {
        labels.append(textOf(parts.next()));
    }
    return labels;
}

} // namespace

void readLog(QIODevice& device, int columnLimit, LogSink& sink)
{
    LineReader lines(device, LineReader::Bytes);
    std::vector<int> values;
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        const LogFields fields = splitLogLine(line);
        Parts parts(fields);
        if (fields.kind == LogFields::Header) {
            sink.addHeader(labelsIn(parts));
        } else if (fields.kind == LogFields::Tag && parts.hasNext()) {
            sink.addTag(decimalInt(fields.time), textOf(parts.next()).trimmed());
        } else if (fields.kind == LogFields::Record) {
            values.clear();
            while (parts.hasNext() && static_cast<int>(values.size()) < columnLimit) {
                values.push_back(parts.nextInt());
            }
            sink.addRecord(decimalInt(fields.time), values);
        }
    }
}

} // namespace formats
