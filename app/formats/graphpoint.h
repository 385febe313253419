// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

namespace formats {

// One point of a chart curve.
struct GraphPoint
{
    double key;
    double value;
};

// A curve that holds each value until the next one comes, and then changes with a vertical step:
// one point for the first sample and two for each further one, whether or not the value changed.
class Staircase
{
public:
    void reserve(std::size_t sampleCount) { samples.reserve(sampleCount); }
    void append(GraphPoint sample) { samples.push_back(sample); }

    std::size_t size() const { return samples.empty() ? 0 : 2 * samples.size() - 1; }

    GraphPoint operator[](std::size_t index) const
    {
        const std::size_t sample = (index + 1) / 2;
        return {samples[sample].key, samples[index / 2].value};
    }

private:
    std::vector<GraphPoint> samples;
};

} // namespace formats
