// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/calibrationmaps.h"

#include <random>

using namespace simulator;

namespace {

std::vector<int> breakpoints(unsigned int count, int first, int step)
{
    std::vector<int> labels(count);
    for (unsigned int i = 0; i < count; ++i) {
        labels[i] = first + static_cast<int>(i) * step;
    }
    return labels;
}

// A surface that rises towards high X and Y, with noise, so that neighbouring cells differ.
CalibrationMaps::Map makeMap(const MapSize& size, std::mt19937& random)
{
    CalibrationMaps::Map map;
    map.xLabels = breakpoints(size.columns, 500, 250);
    map.yLabels = breakpoints(size.rows, -40, 20);
    map.values.reserve(std::size_t(size.columns) * size.rows);
    for (unsigned int y = 0; y < size.rows; ++y) {
        for (unsigned int x = 0; x < size.columns; ++x) {
            const int noise = static_cast<int>(random() % 16);
            map.values.push_back(static_cast<int>(x * 50 + y * 30) - 200 + noise);
        }
    }
    return map;
}

xcu::MapCommandResult store(std::vector<int>& values, std::size_t index, int value)
{
    if (index >= values.size()) {
        return xcu::MAP_COMMAND_RESULT_2;
    }
    values[index] = value;
    return xcu::MAP_COMMAND_RESULT_0;
}

} // namespace

CalibrationMaps::CalibrationMaps(const std::vector<MapSize>& sizes, quint32 seed)
{
    std::mt19937 random(seed);
    for (const MapSize& size : sizes) {
        maps.push_back(makeMap(size, random));
    }
}

CalibrationMaps::Map* CalibrationMaps::map(unsigned int id)
{
    return id < maps.size() ? &maps[id] : nullptr;
}

void CalibrationMaps::answer(
    const xcu::MapTunerGetMapDetailsReq& request, xcu::MapTunerGetMapDetailsResp& response)
{
    response.set_map_id(request.map_id());
    if (const Map* asked = map(request.map_id())) {
        response.set_x_size(static_cast<quint32>(asked->xLabels.size()));
        response.set_y_size(static_cast<quint32>(asked->yLabels.size()));
    }
}

void CalibrationMaps::answer(
    const xcu::MapTunerGetMapReq& request, xcu::MapTunerGetMapResp& response)
{
    response.set_map_id(request.map_id());
    if (const Map* asked = map(request.map_id())) {
        response.mutable_x_labels()->Add(asked->xLabels.begin(), asked->xLabels.end());
        response.mutable_y_labels()->Add(asked->yLabels.begin(), asked->yLabels.end());
        response.mutable_values()->Add(asked->values.begin(), asked->values.end());
    }
}

void CalibrationMaps::answer(
    const xcu::MapTunerSetMapLabelReq& request, xcu::MapTunerSetMapLabelResp& response)
{
    response.set_map_id(request.map_id());
    response.set_axis(request.axis());
    response.set_label_id(request.label_id());
    response.set_result(xcu::MAP_COMMAND_RESULT_1);
    if (Map* asked = map(request.map_id())) {
        auto& labels = request.axis() == xcu::MAP_AXIS_Y ? asked->yLabels : asked->xLabels;
        response.set_result(store(labels, request.label_id(), request.value()));
    }
}

void CalibrationMaps::answer(
    const xcu::MapTunerSetMapValueReq& request, xcu::MapTunerSetMapValueResp& response)
{
    response.set_map_id(request.map_id());
    response.set_x_id(request.x_id());
    response.set_y_id(request.y_id());
    response.set_result(xcu::MAP_COMMAND_RESULT_1);
    if (Map* asked = map(request.map_id())) {
        const std::size_t columns = asked->xLabels.size();
        const std::size_t index = columns * request.y_id() + request.x_id();
        const bool isColumn = request.x_id() < columns;
        response.set_result(
            store(asked->values, isColumn ? index : asked->values.size(), request.value()));
    }
}
