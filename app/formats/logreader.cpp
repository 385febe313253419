// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logreader.h"

#include "formats/channelcount.h"
#include "formats/linereader.h"
#include "formats/textfield.h"

#include <QStringList>
#include <charconv>

namespace formats {

namespace {

// The parts of a line between ";", empty ones included.
class Parts
{
public:
    explicit Parts(std::string_view line)
        : rest(line)
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
    bool more = true;
};

QStringList labelsIn(Parts& parts)
{
    parts.next(); // the name of the time column
    QStringList labels;
    while (parts.hasNext() && labels.size() < ChannelTotal) {
        labels.append(textOf(parts.next()));
    }
    return labels;
}

} // namespace

void readLog(QIODevice& device, int columnLimit, LogSink& sink)
{
    constexpr std::string_view mark = "\xef\xbb\xbf";
    LineReader lines(device, LineReader::Bytes);
    std::vector<int> values;
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        line = line.substr(0, line.find('\0'));
        if (line.substr(0, mark.size()) == mark) {
            line.remove_prefix(mark.size());
        }
        Parts parts(line);
        const std::string_view kind = parts.next();
        if (!parts.hasNext()) {
            continue;
        }
        if (kind == "#") {
            sink.addHeader(labelsIn(parts));
        } else if (kind == "$") {
            const std::string_view timestamp = parts.next();
            if (parts.hasNext()) {
                sink.addTag(decimalInt(timestamp), textOf(parts.next()).trimmed());
            }
        } else {
            const int timestamp = parts.nextInt();
            values.clear();
            while (parts.hasNext() && static_cast<int>(values.size()) < columnLimit) {
                values.push_back(parts.nextInt());
            }
            sink.addRecord(timestamp, values);
        }
    }
}

} // namespace formats
