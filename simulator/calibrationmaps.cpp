// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/calibrationmaps.h"

#include <random>

using namespace simulator;

namespace {

using Map = xcu::MapTunerGetMapResp;

template <typename Numbers>
xcu::MapCommandResult store(Numbers& numbers, std::size_t index, int value)
{
    if (index >= static_cast<std::size_t>(numbers.size())) {
        return xcu::MAP_COMMAND_RESULT_2;
    }
    numbers[static_cast<int>(index)] = value;
    return xcu::MAP_COMMAND_RESULT_0;
}

xcu::MapCommandResult store(Map& map, const xcu::MapTunerSetMapLabelReq& request)
{
    const bool isY = request.axis() == xcu::MAP_AXIS_Y;
    auto& labels = *(isY ? map.mutable_y_labels() : map.mutable_x_labels());
    return store(labels, request.label_id(), request.value());
}

xcu::MapCommandResult store(Map& map, const xcu::MapTunerSetMapValueReq& request)
{
    const auto columns = static_cast<std::size_t>(map.x_labels_size());
    if (request.x_id() >= columns) {
        return xcu::MAP_COMMAND_RESULT_2;
    }
    const std::size_t index = columns * request.y_id() + request.x_id();
    return store(*map.mutable_values(), index, request.value());
}

template <typename Request>
xcu::MapCommandResult store(CalibrationMaps& maps, const Request& request)
{
    const quint32 id = request.map_id();
    return id < maps.size() ? store(maps[id], request) : xcu::MAP_COMMAND_RESULT_1;
}

} // namespace

// Surfaces that rise towards high X and Y, with noise, so that neighbouring cells differ.
CalibrationMaps simulator::makeMaps(const std::vector<QSize>& sizes, quint32 seed)
{
    std::mt19937 random(seed);
    CalibrationMaps maps;
    for (const QSize& size : sizes) {
        Map& map = maps.emplace_back();
        for (int x = 0; x < size.width(); ++x) {
            map.add_x_labels(500 + 250 * x);
        }
        for (int y = 0; y < size.height(); ++y) {
            map.add_y_labels(-40 + 20 * y);
            for (int x = 0; x < size.width(); ++x) {
                map.add_values(50 * x + 30 * y - 200 + static_cast<int>(random() % 16));
            }
        }
    }
    return maps;
}

void simulator::answer(CalibrationMaps& maps, const xcu::Command& command, xcu::Response& response)
{
    const auto find = [&](quint32 id) -> const Map& {
        return id < maps.size() ? maps[id] : Map::default_instance();
    };
    switch (command.req_case()) {
    case xcu::Command::kMapTunerStart:
        response.mutable_map_tuner_started()->set_map_count(static_cast<quint32>(maps.size()));
        return;
    case xcu::Command::kMapTunerGetMapDetails: {
        const auto& request = command.map_tuner_get_map_details();
        const Map& map = find(request.map_id());
        auto& details = *response.mutable_map_details();
        details.set_map_id(request.map_id());
        details.set_x_size(static_cast<quint32>(map.x_labels_size()));
        details.set_y_size(static_cast<quint32>(map.y_labels_size()));
        return;
    }
    case xcu::Command::kMapTunerGetMap: {
        const auto& request = command.map_tuner_get_map();
        *response.mutable_map_data() = find(request.map_id());
        response.mutable_map_data()->set_map_id(request.map_id());
        return;
    }
    case xcu::Command::kMapTunerSetMapLabel: {
        const auto& request = command.map_tuner_set_map_label();
        auto& stored = *response.mutable_map_label_set();
        stored.set_map_id(request.map_id());
        stored.set_axis(request.axis());
        stored.set_label_id(request.label_id());
        stored.set_result(store(maps, request));
        return;
    }
    case xcu::Command::kMapTunerSetMapValue: {
        const auto& request = command.map_tuner_set_map_value();
        auto& stored = *response.mutable_map_value_set();
        stored.set_map_id(request.map_id());
        stored.set_x_id(request.x_id());
        stored.set_y_id(request.y_id());
        stored.set_result(store(maps, request));
        return;
    }
    default:
        return;
    }
}
