// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"
#include "formats/cansignaldata.h"
#include "formats/graphpoint.h"

#include <QIODevice>
#include <QMap>
#include <QSet>
#include <QStringList>
#include <QTime>
#include <functional>

// The slow road through every file format: the steps one by one with the Qt calls that define them,
// and no thought of speed. The readers of the product are held against it, in what they give and in
// how long they take.
namespace slowroad {

using AddPoint = std::function<void(int graph, formats::GraphPoint point)>;

struct Trace
{
    QVector<CanFrames> frames;
    std::function<void(const QByteArray&)> convert; // takes the lines of a conversion
    QStringList diagnosis;
    int count = 0;
    double base = 0.0;
    QTime baseTime;
};

// The kind is the end of a file name, such as ".txt".
void readTrace(const QString& kind, QIODevice& device, Trace& trace);

// A line of a conversion.
QByteArray convertedLine(double seconds, const CanFrames& frame);

struct Log
{
    QMap<int, QString> labels;
    QSet<int> hidden;
    QStringList tags; // "<text>@<time>-<origin>"
    int firstTimestamp = -1;
    int lastTimestamp = -1;
};

// Continues what `log` holds.
void readLog(QIODevice& device, int graphCount, Log& log, const AddPoint& addPoint);

// False if the curve is to stay as it is. Points come for graph 0.
bool readSignal(
    const CanSignalData& signal, const QVector<CanFrames>& frames, const AddPoint& addPoint);

} // namespace slowroad
