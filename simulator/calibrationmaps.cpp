// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/calibrationmaps.h"

#include <random>

namespace simulator {

namespace {

std::vector<int> breakpoints(unsigned int count, int first, int step)
{
    std::vector<int> labels(count);
    for (unsigned int i = 0; i < count; ++i) {
        labels[i] = first + static_cast<int>(i) * step;
    }
    return labels;
}

// A surface that rises towards high X and Y, rough enough to be told from its neighbours.
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

int valueOf(const int* place)
{
    return place != nullptr ? *place : 0;
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

void CalibrationMaps::setLimits(int smallest, int largest)
{
    smallestValue = smallest;
    largestValue = largest;
}

CalibrationMaps::Place CalibrationMaps::label(unsigned int mapId, int axis, unsigned int labelId)
{
    Map* owner = map(mapId);
    if (owner == nullptr) {
        return {nullptr, noSuchMap};
    }
    std::vector<int>& labels = axis == xcu::MAP_AXIS_Y ? owner->yLabels : owner->xLabels;
    if (labelId >= labels.size()) {
        return {nullptr, noSuchPlace};
    }
    return {&labels[labelId], ok};
}

CalibrationMaps::Place CalibrationMaps::cell(unsigned int mapId, unsigned int x, unsigned int y)
{
    Map* owner = map(mapId);
    if (owner == nullptr) {
        return {nullptr, noSuchMap};
    }
    if (x >= owner->xLabels.size() || y >= owner->yLabels.size()) {
        return {nullptr, noSuchPlace};
    }
    return {&owner->values.at(owner->xLabels.size() * y + x), ok};
}

xcu::MapCommandResult CalibrationMaps::store(const Place& place, int value) const
{
    if (place.value == nullptr) {
        return place.result;
    }
    if (value < smallestValue || value > largestValue) {
        return refusedValue;
    }
    *place.value = value;
    return ok;
}

void CalibrationMaps::answer(const xcu::MapTunerStartReq&, xcu::MapTunerStartResp& response)
{
    response.set_map_count(static_cast<quint32>(maps.size()));
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
    const xcu::MapTunerSetMapLabelReq& request, xcu::MapTunerSetMapLabelResp& response)
{
    response.set_map_id(request.map_id());
    response.set_axis(request.axis());
    response.set_label_id(request.label_id());
    const Place place = label(request.map_id(), request.axis(), request.label_id());
    response.set_result(store(place, request.value()));
}

void CalibrationMaps::answer(
    const xcu::MapTunerGetMapLabelReq& request, xcu::MapTunerGetMapLabelResp& response)
{
    response.set_map_id(request.map_id());
    response.set_axis(request.axis());
    response.set_label_id(request.label_id());
    const Place place = label(request.map_id(), request.axis(), request.label_id());
    response.set_value(valueOf(place.value));
    response.set_result(place.result);
}

void CalibrationMaps::answer(
    const xcu::MapTunerSetMapValueReq& request, xcu::MapTunerSetMapValueResp& response)
{
    response.set_map_id(request.map_id());
    response.set_x_id(request.x_id());
    response.set_y_id(request.y_id());
    const Place place = cell(request.map_id(), request.x_id(), request.y_id());
    response.set_result(store(place, request.value()));
}

void CalibrationMaps::answer(
    const xcu::MapTunerGetMapValueReq& request, xcu::MapTunerGetMapValueResp& response)
{
    response.set_map_id(request.map_id());
    response.set_x_id(request.x_id());
    response.set_y_id(request.y_id());
    const Place place = cell(request.map_id(), request.x_id(), request.y_id());
    response.set_value(valueOf(place.value));
    response.set_result(place.result);
    if (place.value != nullptr) {
        map(request.map_id())->lastX = static_cast<int>(request.x_id());
        map(request.map_id())->lastY = static_cast<int>(request.y_id());
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
    const xcu::MapTunerGetLastGetValueReq& request, xcu::MapTunerGetLastGetValueResp& response)
{
    response.set_map_id(request.map_id());
    const Map* asked = map(request.map_id());
    response.set_x_id(asked != nullptr ? asked->lastX : -1);
    response.set_y_id(asked != nullptr ? asked->lastY : -1);
    const auto x = static_cast<unsigned int>(response.x_id());
    const auto y = static_cast<unsigned int>(response.y_id());
    response.set_value(valueOf(cell(request.map_id(), x, y).value));
}

} // namespace simulator
