// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"
#include "formats/cansignaldata.h"
#include "formats/logreader.h"

#include <random>

// "<time> can<bus> <identifier> [<length>] <payload without the zeros at its end>"
QString describe(const CanFrames& frame, int digits = 17);

// What a log gives, in parts: labels "<channel>=<text>", with "!" behind those that hide, tags
// "<text>@<time>-<origin>", the points of each graph "(<time>,<value>)...", "<time>-<origin>".
QStringList describe(const LogContent& log);
QString describe(const RecordPoints& records, int channel);

// Hold the readers against the slow road, and give both descriptions where they differ. The kind is
// the end of a file name, such as ".txt".
QString traceDifference(const QString& kind, QByteArray content);
QString logDifference(QByteArray content);
QString curveDifference(const CanSignalData& signal, const QVector<CanFrames>& frames);

// The content with a few random changes of the kinds that readers stumble over.
QByteArray damaged(QByteArray content, std::mt19937& random);
