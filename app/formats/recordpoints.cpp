// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/recordpoints.h"

#include <algorithm>

QVector<GraphPoint> RecordPoints::points(int channel) const
{
    const Channel& source = channels[static_cast<std::size_t>(channel)];
    const std::size_t size = std::min<std::size_t>(source.values.size(), MaxPointCount);
    QVector<GraphPoint> points(static_cast<int>(size));
    GraphPoint* const point = points.data();
    std::size_t value = 0;
    std::size_t record = 0;
    const auto fillTo = [&](std::size_t end) {
        for (; value < std::min(end, size); ++value, ++record) {
            point[value] = {keys[record], static_cast<double>(source.values[value])};
        }
    };
    for (const Gap& gap : source.gaps) {
        fillTo(gap.firstValue);
        record = gap.firstRecord;
    }
    fillTo(size);
    return points;
}
