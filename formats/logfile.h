// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVector>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QIODevice;

namespace formats {

// The lines of a session's log file: UTF-8, fields separated by ";", each line closed by one line
// feed. There are no quotes and no escapes: a label or tag that holds ";" or a line end spoils its
// line.

// First line of a file: "#", "timestamp" and one column name for each label. Every field is
// followed by ";".
QByteArray logHeaderLine(const QVector<QString>& labels);

// The fields of a line as they stand. Behind a zero byte, such as a power cut leaves, nothing
// counts, nor does a byte order mark.
struct LogFields
{
    enum Kind { None, Header, Tag, Record }; // None: not even two fields
    Kind kind = None;
    std::string_view number;
    std::string_view time; // of a header the column's name
    // Labels, text or values, as far as the line goes, its end included. None: no ";" follows
    // `time`.
    std::optional<std::string_view> rest;
};
LogFields splitLogLine(std::string_view line);

// One record, written over what `line` holds; the capacity of `line` is reused. Sample number and
// timestamp (controller time in ms) are unsigned, the raw values signed. Every field is followed by
// ";". The line has as many value fields as there are values, whatever the header says.
void composeLogLine(
    std::string& line, unsigned int sampleNumber, unsigned int timestamp,
    const std::vector<int>& values);

// One tag at the timestamp of the latest record, in ms. Unlike in a record the timestamp is signed
// (-1 before the first record, negative from 2^31 ms on), and no ";" follows the last field.
// Readers of existing logs count on both.
QByteArray logTagLine(int timestamp, const QString& text);

// Take the lines of a log file, in file order. Times are controller time in ms, as the file has
// them; above 2^31 - 1 they read 0.
struct LogTakers
{
    // A header line: the names of the columns from the first channel on, at most ChannelTotal.
    std::function<void(const QStringList& labels)> header;
    std::function<void(int timestamp, const QString& text)> tag;
    std::function<void(int timestamp, const std::vector<int>& values)> record;
};

// Reads a log file; a device that is not open reads as empty. Of a record at most so many values
// are read, of a text LongestShownText characters. A line without a time is passed over; a tag
// without a text is given as a record without values, since its time counts.
//
// A line is not trimmed: its end stays in its last field. Behind the closing ";" of a record the
// line end thus counts as one more column, which reads 0; behind a number it is white space.
void readLog(QIODevice& device, int columnLimit, const LogTakers& take);

// Where a moment of a record lies on the chart, in s. Single precision: from 16,777,216 ms on the
// places are 2 ms apart.
template <typename Integer>
double chartSeconds(Integer milliseconds)
{
    return static_cast<double>(static_cast<float>(milliseconds) / 1000.0F);
}

} // namespace formats
