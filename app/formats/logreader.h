// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <vector>

class QIODevice;

namespace formats {

// Takes the lines of a session's log file (logline.h), in file order. Times are controller time in
// ms, as the file has them; above 2^31 - 1 they read 0.
class LogSink
{
public:
    virtual ~LogSink() = default;

    // A header line: the names of the columns from the first channel on, at most ChannelTotal.
    virtual void addHeader(const QStringList& labels) = 0;

    virtual void addTag(int timestamp, const QString& text) = 0;

    virtual void addRecord(int timestamp, const std::vector<int>& values) = 0;
};

// Reads a log file; a device that is not open reads as empty. Of a record at most so many values
// are read. A line without a time is passed over.
//
// A line is not trimmed: its end stays in its last field. Behind the closing ";" of a record the
// line end thus counts as one more column, which reads 0.
void readLog(QIODevice& device, int columnLimit, LogSink& sink);

// Where a moment of an imported record lies on the chart, in s. Single precision, as for live
// records: from 16,777,216 ms on the places are 2 ms apart.
inline double chartSeconds(int milliseconds)
{
    return static_cast<double>(static_cast<float>(milliseconds) / 1000.0F);
}

} // namespace formats
