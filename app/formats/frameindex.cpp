// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/frameindex.h"

namespace formats {

void FrameIndex::extend(const QVector<CanFrames>& frames)
{
    for (; indexed < frames.size(); ++indexed) {
        positionsOf[frames.at(indexed).frameId].append(indexed);
    }
}

QStringList FrameIndex::identifierTexts() const
{
    QStringList texts;
    for (auto entry = positionsOf.keyBegin(); entry != positionsOf.keyEnd(); ++entry) {
        texts.append(
            QStringLiteral("0x%1").arg(static_cast<quint64>(*entry), 3, 16, QLatin1Char('0')));
    }
    return texts;
}

} // namespace formats
