// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/frameindex.h"

void FrameIndex::extend(const QVector<CanFrames>& frames)
{
    for (; indexed < frames.size(); ++indexed) {
        positionsOf[frames.at(indexed).frameId].append(indexed);
    }
}
