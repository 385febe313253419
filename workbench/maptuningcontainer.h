// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <memory>

class MapTuning;

namespace Ui {
class MapTuningContainer;
}

// A dialog that holds map editors. Nothing opens it: editors live in the main window's workspace.
class MapTuningContainer : public QDialog
{
    Q_OBJECT

public:
    explicit MapTuningContainer(QWidget* parent = nullptr);
    ~MapTuningContainer() override;

    void addTuner(MapTuning* tuner, unsigned int mapId); // takes the editor over

private:
    std::unique_ptr<Ui::MapTuningContainer> ui;
};
