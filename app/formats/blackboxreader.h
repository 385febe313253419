// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/recordpoints.h"
#include "formats/traceimport.h"

#include <QString>
#include <QStringList>
#include <iosfwd>

namespace formats {

// What a black-box record holds besides CAN frames, in the form in which the window takes it up.
// The numbers of inputs and outputs are those of the first log record.
struct BlackboxContent
{
    QString statusText;
    int firstTimestamp = 0;   // controller time of the first log record in ms
    bool hasLog = false;      // without log records there is nothing to draw
    QStringList channelTexts; // inputs, behind them outputs, as far as the chart has channels
    RecordPoints points;      // of these channels; controller time in seconds of single precision
};

// Reads the controller's black-box record. What cannot be parsed leaves what was read up to there;
// the status text tells whether the stream came to its end. Of a CAN frame at most 8 bytes are
// kept; its time is controller time in seconds. In the conversion it is divided by 1000 once more,
// on purpose: that is how these files are.
BlackboxContent readBlackbox(std::istream& stream, TraceImport& import);

// Reads a file, which reads as empty if it cannot be opened.
BlackboxContent readBlackboxFile(const QString& fileName, TraceImport& import);

} // namespace formats
