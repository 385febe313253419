// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/mapcontainer.h"

#include "platform/diagnostics.h"
#include "workbench/maptuning.h"

#include <QMdiArea>
#include <algorithm>

void MapContainer::showMapTuner(QMdiArea* area, int mapId)
{
    auto* editor = new MapTuning(static_cast<unsigned int>(mapId), commandsSender, nullptr);
    mapTuners[mapId] = editor;
    QObject::connect(
        editor, &QObject::destroyed, &lifetime, [this](QObject* dying) { tunerClosing(dying); });
    area->addSubWindow(editor);
    editor->show();
}

void MapContainer::tunerClosing(QObject* editor)
{
    const auto entry = std::find(mapTuners.begin(), mapTuners.end(), editor);
    if (entry != mapTuners.end()) {
        mapTuners.erase(entry);
    }
}

void MapContainer::mapTuningStart(unsigned int mapCount)
{
    constexpr unsigned int most = 65536; // more than any controller has
    if (mapCount > most) {
        platform::printLine("Refused map count ", mapCount);
        return;
    }
    for (int mapId = 0; mapId < static_cast<int>(mapCount); ++mapId) {
        mapList[mapId] = QStringLiteral("Map %1").arg(mapId);
    }
}

void MapContainer::mapTuningMapDetails(unsigned int mapId, unsigned int xSize, unsigned int ySize)
{
    if (MapTuning* editor = mapTuners.value(static_cast<int>(mapId))) {
        editor->updateMapByParameters(xSize, ySize);
    }
}

void MapContainer::mapTuningMap(
    unsigned int mapId, std::vector<int>&& xLabels, std::vector<int>&& yLabels,
    std::vector<int>&& values)
{
    platform::printLine(
        "Received map data ", mapId, ": x: ", xLabels.size(), " y: ", yLabels.size());
    if (MapTuning* editor = mapTuners.value(static_cast<int>(mapId))) {
        editor->mapTuningMap(std::move(xLabels), std::move(yLabels), std::move(values));
    }
}
