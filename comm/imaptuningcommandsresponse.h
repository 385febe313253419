// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

// Answers of the map tuner.
class IMapTuningCommandsResponse
{
public:
    enum class MapAxis { X = 0, Y = 1 };
    // The values as they come from the controller; nothing on the PC gives them a meaning.
    enum class MapCommandResult { Result0 = 0, Result1 = 1, Result2 = 2, Result3 = 3 };

    virtual void mapTuningStart(unsigned int mapCount) = 0;
    // xSize columns and ySize rows of values, without the label row and column.
    virtual void mapTuningMapDetails(
        unsigned int mapId, unsigned int xSize, unsigned int ySize) = 0;
    virtual void mapTuningGetMapLabel(
        unsigned int mapId, MapAxis axis, unsigned int labelId, int value,
        MapCommandResult result) = 0;
    virtual void mapTuningSetMapLabel(
        unsigned int mapId, MapAxis axis, unsigned int labelId, MapCommandResult result) = 0;
    virtual void mapTuningGetMapValue(
        unsigned int mapId, unsigned int xId, unsigned int yId, int value,
        MapCommandResult result) = 0;
    virtual void mapTuningSetMapValue(
        unsigned int mapId, unsigned int xId, unsigned int yId, MapCommandResult result) = 0;
    // The whole map; in values the X index runs fastest.
    virtual void mapTuningMap(
        unsigned int mapId, std::vector<int>&& xLabels, std::vector<int>&& yLabels,
        std::vector<int>&& values) = 0;
    virtual void mapTuningGetLastGetValue(unsigned int mapId, int xId, int yId, int value) = 0;

protected:
    ~IMapTuningCommandsResponse() = default;
};
