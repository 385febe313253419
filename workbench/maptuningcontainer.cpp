// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/maptuningcontainer.h"

#include "ui_maptuningcontainer.h"
#include "workbench/maptuning.h"

MapTuningContainer::MapTuningContainer(QWidget* parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::MapTuningContainer>())
{
    ui->setupUi(this);
}

MapTuningContainer::~MapTuningContainer() = default;

void MapTuningContainer::addTuner(MapTuning* tuner, unsigned int /*mapId*/)
{
    ui->mdiArea->addSubWindow(tuner);
}
