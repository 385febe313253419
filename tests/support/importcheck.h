// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"

#include "formats/cansignaldata.h"
#include <random>

// Holds the readers against the slow road of literalimport.h. Each gives where the two first
// differ, empty if they do not.

// The kind is the end of a file name, such as ".txt".
QString traceDifference(const QString& kind, QByteArray content);
QString logDifference(QByteArray content);
QString curveDifference(const CanSignalData& signal, const QVector<CanFrames>& frames);

// The content with a few random changes of the kinds that readers stumble over.
QByteArray damaged(QByteArray content, std::mt19937& random);

// Time, bus, identifier, length and the whole payload.
QString describe(const CanFrames& frame);
