// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/maptuningcontainer.h"

#include "ui_maptuningcontainer.h"
#include "workbench/maptuning.h"

MapTuningContainer::MapTuningContainer(QWidget* parent)
    : QDialog(parent)
{
    Ui::MapTuningContainer form;
    form.setupUi(this);
    mdiArea = form.mdiArea;
}

void MapTuningContainer::addTuner(MapTuning* tuner, unsigned int /*mapId*/)
{
    mdiArea->addSubWindow(tuner);
}
