// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"
#include "formats/cansignaldata.h"
#include "formats/graphpoint.h"

#include <functional>

// The slow road to the curve of a signal with a multiplexer and integer values: every frame, and
// every bit of it.
void drawBitByBit(
    const CanSignalData& signal, const QVector<CanFrames>& frames,
    const std::function<void(GraphPoint)>& addPoint);
