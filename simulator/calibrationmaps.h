// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/controlleroptions.h"

#include <limits>
#include <optional>
#include <vector>

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

    // How a request on a map ended, as it goes over the wire.
    static constexpr xcu::MapCommandResult ok = xcu::MAP_COMMAND_RESULT_0;
    static constexpr xcu::MapCommandResult noSuchMap = xcu::MAP_COMMAND_RESULT_1;
    static constexpr xcu::MapCommandResult noSuchPlace = xcu::MAP_COMMAND_RESULT_2;
    static constexpr xcu::MapCommandResult refusedValue = xcu::MAP_COMMAND_RESULT_3;

    CalibrationMaps(const std::vector<MapSize>& sizes, quint32 seed);

    std::size_t size() const { return maps.size(); }
    // Null for a map that does not exist. Tests may change what they like.
    Map* map(unsigned int id);
    const Map* map(unsigned int id) const;

    // Labels and values outside are refused; at first everything is allowed.
    void setLimits(int smallest, int largest);

    void answer(const xcu::MapTunerStartReq& request, xcu::MapTunerStartResp& response) const;
    void answer(const xcu::MapTunerGetMapDetailsReq&, xcu::MapTunerGetMapDetailsResp&) const;
    void answer(const xcu::MapTunerSetMapLabelReq&, xcu::MapTunerSetMapLabelResp&);
    void answer(const xcu::MapTunerGetMapLabelReq&, xcu::MapTunerGetMapLabelResp&) const;
    void answer(const xcu::MapTunerSetMapValueReq&, xcu::MapTunerSetMapValueResp&);
    void answer(const xcu::MapTunerGetMapValueReq&, xcu::MapTunerGetMapValueResp&);
    void answer(const xcu::MapTunerGetMapReq&, xcu::MapTunerGetMapResp&) const;
    void answer(const xcu::MapTunerGetLastGetValueReq&, xcu::MapTunerGetLastGetValueResp&) const;

private:
    struct Cell
    {
        unsigned int x;
        unsigned int y;
    };

    std::vector<Map> maps;
    std::vector<std::optional<Cell>> lastRead; // the cell that a map was last asked for
    int smallestValue = std::numeric_limits<int>::min();
    int largestValue = std::numeric_limits<int>::max();
};
