// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/logreader.h"
#include "formats/traceimport.h"

#include <QStringList>

// The slow road through the file formats: the steps one by one with the Qt calls that define them,
// and no thought of speed. The readers of the product are held against it, in what they give and in
// how long they take.
namespace literal {

// As traceFormat() reads a file whose name ends in `kind`. The conversion is flushed line by line.
int readTrace(const QString& kind, QIODevice& device, TraceImport& import);
QByteArray convertedLine(double seconds, const CanFrames& frame);

LogContent readLog(QIODevice& device, int graphCount, int firstTimestamp);

// Bit by bit; bits outside the frame are 0.
quint64 readField(const CanFrames& frame, bool leastFirst, int offset, int length);

} // namespace literal

// What a reader gives in lines of text, and what the slow road gives.
struct Readings
{
    QStringList fast;
    QStringList slow;
};

Readings traceReadings(const QString& kind, const QByteArray& content, bool isExact = true);
Readings logReadings(const QByteArray& content, int graphCount, int firstTimestamp);

// "<time> can<bus> <identifier> [<length>] <payload>", in full or as a person would write it.
QString describe(const CanFrames& frame, bool isExact = true);
