// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

class MapTuning;
class QMdiArea;

// A dialog that holds map editors. Nothing opens it: editors live in the main window's workspace.
class MapTuningContainer : public QDialog
{
    Q_OBJECT

public:
    explicit MapTuningContainer(QWidget* parent = nullptr);

    void addTuner(MapTuning* tuner, unsigned int mapId); // takes the editor over

private:
    QMdiArea* mdiArea;
};
