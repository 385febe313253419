// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/recordpoints.h"

#include <algorithm>

namespace formats {

void RecordPoints::addRecord(double key, int firstChannel, const std::vector<int>& values)
{
    auto channel = channels.begin() + std::min(firstChannel, channelCount());
    for (auto value = values.begin(); value != values.end() && channel != channels.end(); ++value) {
        if (channel->end != keys.size()) {
            channel->gaps.push_back({channel->values.size(), keys.size()});
        }
        channel->end = keys.size() + 1;
        channel->values.push_back(*value);
        ++channel;
    }
    keys.push_back(key);
}

std::vector<GraphPoint> RecordPoints::points(int channel) const
{
    const Channel& source = channels[static_cast<std::size_t>(channel)];
    std::vector<GraphPoint> points;
    points.reserve(source.values.size());
    std::size_t record = 0;
    const auto addTo = [&](std::size_t end) {
        for (; points.size() < end; ++record) {
            points.push_back({keys[record], static_cast<double>(source.values[points.size()])});
        }
    };
    for (const Gap& gap : source.gaps) {
        addTo(gap.firstValue);
        record = gap.firstRecord;
    }
    addTo(source.values.size());
    return points;
}

} // namespace formats
