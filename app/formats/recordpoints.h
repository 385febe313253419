// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/graphpoint.h"

#include <vector>

namespace formats {

// Integer values of many records, kept by channel in 4 bytes each until they become points. A
// record need not have a value for every channel.
class RecordPoints
{
public:
    explicit RecordPoints(int channelCount = 0)
        : channels(static_cast<std::size_t>(channelCount))
    {}

    int channelCount() const { return static_cast<int>(channels.size()); }

    // Values of channels from firstChannel on, as far as there are channels.
    void addRecord(double key, int firstChannel, const std::vector<int>& values);

    // The points of one channel in the order of their records.
    std::vector<GraphPoint> points(int channel) const;

private:
    // The values from `firstValue` on are those of the records from `firstRecord` on.
    struct Gap
    {
        std::size_t firstValue;
        std::size_t firstRecord;
    };

    struct Channel
    {
        std::vector<int> values;
        std::vector<Gap> gaps;
        std::size_t end = 0; // the record behind the last value's
    };

    std::vector<double> keys; // by record
    std::vector<Channel> channels;
};

} // namespace formats
