// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/responseinterfaces.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <vector>

class CommandsSender;
class MapTuning;
class QMdiArea;

// Lists the maps of the controller and hands its answers to their editors. Maps are numbered from 0
// and have no other identity.
class MapContainer : public IMapTuningCommandsResponse
{
public:
    explicit MapContainer(CommandsSender* sender) // not owned
        : commandsSender(sender)
    {}
    virtual ~MapContainer() = default;

    // Map ids and display names. Entries stay when a later controller has fewer maps.
    QMap<int, QString> getMapList() const { return mapList; }

    // Opens a new editor in the area, which owns it. Of several editors of one map the newest gets
    // the answers.
    void showMapTuner(QMdiArea* area, int mapId);

    // Forgets an editor that dies, unless a newer one has taken its place.
    void tunerClosing(QObject* editor);

    // A count above 65,536 is refused.
    void mapTuningStart(unsigned int mapCount) override;
    // Sizes and contents go to the newest editor of the map; without one they are dropped.
    void mapTuningMapDetails(unsigned int mapId, unsigned int xSize, unsigned int ySize) override;
    void mapTuningMap(
        unsigned int mapId, std::vector<int>&& xLabels, std::vector<int>&& yLabels,
        std::vector<int>&& values) override;
    // The answers to single labels and values are ignored: an edit that the controller rejects
    // stays displayed as entered.
    void mapTuningGetMapLabel(unsigned int, MapAxis, unsigned int, int, MapCommandResult) override
    {}
    void mapTuningSetMapLabel(unsigned int, MapAxis, unsigned int, MapCommandResult) override {}
    void mapTuningGetMapValue(
        unsigned int, unsigned int, unsigned int, int, MapCommandResult) override
    {}
    void mapTuningSetMapValue(unsigned int, unsigned int, unsigned int, MapCommandResult) override
    {}
    void mapTuningGetLastGetValue(unsigned int, int, int, int) override {}

private:
    CommandsSender* commandsSender;
    QMap<int, QString> mapList;
    QMap<int, MapTuning*> mapTuners; // the newest editor of each map
    QObject lifetime;                // ends the connections to editors that live longer
};
