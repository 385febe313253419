// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"
#include "formats/cansignaldata.h"

#include <QStringList>

// What a reader gives in lines of text, and what the slow road of the benchmarks gives.
struct Readings
{
    QStringList fast;
    QStringList slow;
};

// Diagnosis, frames and conversion. The kind is the end of a file name, such as ".txt".
Readings traceReadings(const QString& kind, QByteArray content, bool isExact = true);

// Labels "<channel>=<text>", with "!" behind those that hide, tags "<text>@<time>-<origin>", the
// points of each graph "|(<time>,<value>)...", "<time>-<origin>".
Readings logReadings(QByteArray content, int graphCount, int firstTimestamp);

// Points "(<time>,<value>)".
Readings curveReadings(const CanSignalData& signal, const QVector<CanFrames>& frames);

// "<time> can<bus> <identifier> [<length>] <payload>", in full or as a person would write it.
QString describe(const CanFrames& frame, bool isExact = true);
