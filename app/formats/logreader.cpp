// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logreader.h"

#include "formats/channelcount.h"
#include "formats/linereader.h"
#include "formats/textfield.h"

#include <array>
#include <optional>

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
        constexpr std::size_t safeDigits = 9; // always fit an int
        const std::size_t sign = rest.substr(0, 1) == "-" ? 1 : 0;
        unsigned value = 0;
        for (std::size_t i = sign; i < rest.size() && i <= sign + safeDigits; ++i) {
            const char c = rest[i];
            if (c == ';' && i > sign) {
                rest.remove_prefix(i + 1);
                return sign == 0 ? static_cast<int>(value) : -static_cast<int>(value);
            }
            if (c < '0' || c > '9') {
                break;
            }
            value = 10 * value + static_cast<unsigned>(c - '0');
        }
        return decimalInt(next());
    }

private:
    std::string_view rest;
    bool more = true;
};

class LogReader
{
public:
    LogReader(int graphCount, int firstTimestamp, int lastTimestamp)
        : points(graphCount)
        , first(firstTimestamp)
        , last(lastTimestamp)
    {}

    void readLine(std::string_view line);
    LogContent takeContent();

private:
    struct ChannelLabel
    {
        std::optional<QString> text;
        bool hides = false;
    };

    void readHeader(Parts& parts);
    void readTag(Parts& parts);
    void readRecord(Parts& parts);
    void setTimestamp(int timestamp);

    std::array<ChannelLabel, ChannelTotal> labels;
    QVector<LogContent::Tag> tags;
    RecordPoints points;
    int first; // time stamps in ms; -1 for none yet
    int last;
};

void LogReader::readLine(std::string_view line)
{
    constexpr std::string_view mark = "\xef\xbb\xbf";
    line = line.substr(0, line.find('\0'));
    if (line.substr(0, mark.size()) == mark) {
        line.remove_prefix(mark.size());
    }
    Parts parts(line);
    const std::string_view kind = parts.next();
    if (!parts.hasNext()) {
        return;
    }
    if (kind == "#") {
        readHeader(parts);
    } else if (kind == "$") {
        readTag(parts);
    } else {
        readRecord(parts);
    }
}

void LogReader::readHeader(Parts& parts)
{
    parts.next(); // the name of the time column
    for (auto label = labels.begin(); label != labels.end() && parts.hasNext(); ++label) {
        const QString text = textOf(parts.next());
        label->hides = label->hides || text == QLatin1String("x");
        label->text = text;
    }
}

void LogReader::readTag(Parts& parts)
{
    const std::string_view timestamp = parts.next();
    if (parts.hasNext()) {
        setTimestamp(decimalInt(timestamp));
        tags.append({textOf(parts.next()).trimmed(), first, last});
    }
}

void LogReader::readRecord(Parts& parts)
{
    setTimestamp(parts.nextInt());
    if (!parts.hasNext()) {
        return;
    }
    // The controller's clock wraps round, hence the unsigned difference.
    const auto elapsed =
        static_cast<int>(static_cast<unsigned>(last) - static_cast<unsigned>(first));
    points.beginRecord(static_cast<double>(static_cast<float>(elapsed) / 1000.0F));
    for (int graph = 0; graph < points.channelCount() && parts.hasNext(); ++graph) {
        points.add(graph, parts.nextInt());
    }
}

void LogReader::setTimestamp(int timestamp)
{
    last = timestamp;
    if (first == -1) {
        first = timestamp;
    }
}

LogContent LogReader::takeContent()
{
    LogContent content;
    for (int channel = 0; channel < ChannelTotal; ++channel) {
        const ChannelLabel& label = labels[static_cast<std::size_t>(channel)];
        if (label.text) {
            content.labels.append({channel, *label.text, label.hides});
        }
    }
    content.tags = std::move(tags);
    content.points = std::move(points);
    content.firstTimestamp = first;
    content.lastTimestamp = last;
    return content;
}

} // namespace

LogContent readLog(QIODevice& device, int graphCount, int firstTimestamp, int lastTimestamp)
{
    LineReader lines(device, LineReader::Bytes);
    LogReader reader(graphCount, firstTimestamp, lastTimestamp);
    for (auto line = lines.next(); !line.empty(); line = lines.next()) {
        reader.readLine(line);
    }
    return reader.takeContent();
}

} // namespace formats
