// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <string>
#include <string_view>
#include <vector>

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
    std::string_view rest; // labels, text or values, as far as the line goes, its end included
    bool hasRest = false;
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

} // namespace formats
