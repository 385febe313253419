// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"
#include "simulator/controlleroptions.h"

#include <limits>
#include <vector>

namespace simulator {

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
        // The cell that was asked for last, -1 before.
        int lastX = -1;
        int lastY = -1;
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

    // Labels and values outside are refused; at first everything is allowed.
    void setLimits(int smallest, int largest);

    void answer(const xcu::MapTunerStartReq& request, xcu::MapTunerStartResp& response);
    void answer(
        const xcu::MapTunerGetMapDetailsReq& request, xcu::MapTunerGetMapDetailsResp& response);
    void answer(const xcu::MapTunerSetMapLabelReq& request, xcu::MapTunerSetMapLabelResp& response);
    void answer(const xcu::MapTunerGetMapLabelReq& request, xcu::MapTunerGetMapLabelResp& response);
    void answer(const xcu::MapTunerSetMapValueReq& request, xcu::MapTunerSetMapValueResp& response);
    void answer(const xcu::MapTunerGetMapValueReq& request, xcu::MapTunerGetMapValueResp& response);
    void answer(const xcu::MapTunerGetMapReq& request, xcu::MapTunerGetMapResp& response);
    void answer(
        const xcu::MapTunerGetLastGetValueReq& request, xcu::MapTunerGetLastGetValueResp& response);

private:
    // A label or cell; null, with the reason, where there is none.
    struct Place
    {
        int* value;
        xcu::MapCommandResult result;
    };

    Place label(unsigned int mapId, int axis, unsigned int labelId);
    Place cell(unsigned int mapId, unsigned int x, unsigned int y);
    xcu::MapCommandResult store(const Place& place, int value) const;

    std::vector<Map> maps;
    int smallestValue = std::numeric_limits<int>::min();
    int largestValue = std::numeric_limits<int>::max();
};

} // namespace simulator
