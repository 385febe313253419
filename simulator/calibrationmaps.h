// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <QtGlobal>
#include <vector>

namespace simulator {

struct MapSize
{
    unsigned int columns = 8;
    unsigned int rows = 8;
};

// The controller's calibration maps: tables of integers with integer breakpoints on both axes. Maps
// are numbered from 0; in the values of a map the X index runs fastest.
class CalibrationMaps
{
public:
    struct Map
    {
        std::vector<int> xLabels;
        std::vector<int> yLabels;
        std::vector<int> values;
    };

    CalibrationMaps(const std::vector<MapSize>& sizes, quint32 seed);

    std::size_t size() const { return maps.size(); }
    // Null for a map that does not exist. Tests may change what they like.
    Map* map(unsigned int id);

    void answer(
        const xcu::MapTunerGetMapDetailsReq& request, xcu::MapTunerGetMapDetailsResp& response);
    void answer(const xcu::MapTunerGetMapReq& request, xcu::MapTunerGetMapResp& response);
    // The result is 0 when the value is stored, 1 for a map that does not exist, 2 for a label or
    // cell that does not.
    void answer(const xcu::MapTunerSetMapLabelReq& request, xcu::MapTunerSetMapLabelResp& response);
    void answer(const xcu::MapTunerSetMapValueReq& request, xcu::MapTunerSetMapValueResp& response);

private:
    std::vector<Map> maps;
};

} // namespace simulator
