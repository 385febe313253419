// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/commandsresponsereceiver.h"
#include "comm/comport.h"
#include "workbench/loggerdatadistributor.h"
#include "workbench/mapcontainer.h"

#include <QList>
#include <QMainWindow>
#include <QMap>
#include <QSerialPortInfo>
#include <memory>
#include <string>

class CommandsSender;
class QAction;

namespace Ui {
class MainWindow;
}

// The tuning workbench: any number of viewers and map editors on one connected controller. It has
// a link of its own.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

public slots:
    void commandResponseRead(std::string frame);
    void portRefresher();
    void portConnect(QAction* action);
    void createValueViewer(bool checked);
    void createPlotViewer(bool checked);
    void viewerDestroyed(QObject* object);
    void mapMenuFill();
    void mapMenuShowMapEditor(QAction* action);

protected:
    bool event(QEvent* event) override;

private:
    std::unique_ptr<Ui::MainWindow> ui;
    ComPort comPort;
    std::unique_ptr<CommandsSender> commandsSender;
    QList<QSerialPortInfo> availablePorts;
    QMap<QAction*, QSerialPortInfo> portActions; // entries of the menu "Connection"
    LoggerDataDistributor loggerDataDistributor;
    MapContainer mapContainer;
    QMap<QAction*, int> mapActions; // entries of the menu "Map Tuning", to map ids
    CommandsResponseReceiver commandsResponseReceiver;
};
