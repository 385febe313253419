// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/recordpoints.h"

#include <QString>
#include <QVector>

class QIODevice;

namespace formats {

// What a session's log file holds, in the form in which the window takes it up. For the format see
// logline.h.
struct LogContent
{
    struct Label
    {
        int channel; // 0 to 127
        QString text;
        bool hides; // a header of the file has "x" for the channel
    };

    struct Tag
    {
        QString text;
        int firstTimestamp; // the time origin and the time of the tag, in ms
        int lastTimestamp;
    };

    QVector<Label> labels;   // ascending; where a file has several headers, the last text of each
    QVector<Tag> tags;       // in file order
    RecordPoints points;     // a channel a graph; seconds in single precision
    int firstTimestamp = -1; // the time stamps after the file
    int lastTimestamp = -1;
};

// Reads a log file; a device that is not open reads as empty. The time origin `firstTimestamp` goes
// on across files, -1 is none yet. Values of columns that have no graph are passed over, and so is
// a line without a time.
//
// A line is not trimmed: its end stays in its last field. Behind the closing ";" of a record the
// line end thus counts as one more column, which reads 0.
LogContent readLog(QIODevice& device, int graphCount, int firstTimestamp, int lastTimestamp);

} // namespace formats
