// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"

#include <QHash>
#include <QStringList>

namespace formats {

// Where in a growing list of frames the frames of each identifier stand. Costs 4 bytes a frame.
class FrameIndex
{
public:
    // Takes in the frames that were appended since the last call; the others must be unchanged.
    void extend(const QVector<CanFrames>& frames)
    {
        for (; indexed < frames.size(); ++indexed) {
            positionsOf[frames.at(indexed).frameId].append(indexed);
        }
    }

    // Places in the list, ascending; empty for an identifier that no frame has.
    QVector<int> positions(int frameId) const { return positionsOf.value(frameId); }

    // All identifiers, in no particular order, as the list of imported identifiers shows them: in
    // base 16 behind "0x", filled with "0" to 3 digits.
    QStringList identifierTexts() const
    {
        QStringList texts;
        for (auto id = positionsOf.keyBegin(); id != positionsOf.keyEnd(); ++id) {
            texts << QStringLiteral("0x%1").arg(static_cast<quint64>(*id), 3, 16, QChar('0'));
        }
        return texts;
    }

private:
    QHash<int, QVector<int>> positionsOf;
    int indexed = 0; // frames taken in so far
};

} // namespace formats
