// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/mainwindow.h"

#include "comm/commandssender.h"
#include "comm/portdiscovery.h"
#include "ui_mainwindow.h"
#include "workbench/plotviewer.h"
#include "workbench/valueviewer.h"

#include <QEvent>
#include <QMdiArea>
#include <QMetaType>
#include <vector>

namespace {

constexpr unsigned int loggedChannels = 32; // always the first ones

// A viewer that gets the distributor's records for as long as it is an IDataPresenter.
// QObject::destroyed would come too late to end that: by then only the QWidget is left.
template <typename Viewer>
class RegisteredViewer final : public Viewer
{
public:
    RegisteredViewer(LoggerDataDistributor& registeredWith, QWidget* parent)
        : Viewer(parent)
        , distributor(registeredWith)
    {
        distributor.addSink(this);
    }
    ~RegisteredViewer() override { distributor.removeSink(this); }

private:
    LoggerDataDistributor& distributor;
};

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui::MainWindow>())
    , commandsSender(std::make_unique<CommandsSender>(comPort))
    , loggerDataDistributor(*commandsSender)
    , mapContainer(commandsSender.get())
    , commandsResponseReceiver(
          nullptr, &loggerDataDistributor, nullptr, nullptr, &mapContainer, nullptr, nullptr,
          nullptr, nullptr)
{
    qRegisterMetaType<std::string>("std::string");
    ui->setupUi(this);
    connect(&comPort, &ComPort::commandRead, this, &MainWindow::commandResponseRead);
    connect(ui->menuConnection, &QMenu::aboutToShow, this, &MainWindow::portRefresher);
    connect(ui->menuConnection, &QMenu::triggered, this, &MainWindow::portConnect);
    connect(ui->actionValue_Viewer, &QAction::triggered, this, &MainWindow::createValueViewer);
    connect(ui->actionPlot_Viewer, &QAction::triggered, this, &MainWindow::createPlotViewer);
    connect(ui->menuMap_Tuning, &QMenu::aboutToShow, this, &MainWindow::mapMenuFill);
    connect(ui->menuMap_Tuning, &QMenu::triggered, this, &MainWindow::mapMenuShowMapEditor);
}

// The members die before the child widgets do. Whoever calls a member from another thread or while
// being destroyed therefore has to go first. The list of sub-windows would not do: it lacks those
// that were closed and wait for their deletion.
MainWindow::~MainWindow()
{
    loggerDataDistributor.stop();
    delete ui->formContainer;
}

// An entry of a menu clears the status bar as the pointer passes over it, by its empty status tip.
// The last message is to stay: nothing else tells whether there is a connection.
bool MainWindow::event(QEvent* event)
{
    return event->type() == QEvent::StatusTip || QMainWindow::event(event);
}

void MainWindow::commandResponseRead(std::string frame)
{
    commandsResponseReceiver.decodeResponse(frame);
}

void MainWindow::portRefresher()
{
    availablePorts = QSerialPortInfo::availablePorts();
    ui->menuConnection->clear();
    portActions.clear();
    for (const QSerialPortInfo& port : comm::controllerPorts(availablePorts)) {
        portActions[ui->menuConnection->addAction(port.serialNumber())] = port;
    }
}

void MainWindow::portConnect(QAction* action)
{
    if (!comPort.open(portActions[action])) {
        ui->statusbar->showMessage(QStringLiteral("Failed to connect"));
        return;
    }
    ui->statusbar->showMessage(QStringLiteral("Connected"));
    std::vector<unsigned int> channels = comm::firstChannels(loggedChannels);
    commandsSender->sendLoggerStart(channels, false);
    commandsSender->sendMapTunerStartReq();
}

void MainWindow::createValueViewer(bool /*checked*/)
{
    auto* viewer = new RegisteredViewer<ValueViewer>(loggerDataDistributor, this);
    ui->formContainer->addSubWindow(viewer);
    connect(viewer, &QObject::destroyed, this, &MainWindow::viewerDestroyed);
    viewer->show();
}

void MainWindow::createPlotViewer(bool /*checked*/)
{
    auto* viewer = new RegisteredViewer<PlotViewer>(loggerDataDistributor, this);
    ui->formContainer->addSubWindow(viewer);
    viewer->show();
}

// The cast finds nothing, as the viewer has lost its type by then; RegisteredViewer does the work.
void MainWindow::viewerDestroyed(QObject* object)
{
    if (auto* presenter = dynamic_cast<IDataPresenter*>(object)) {
        loggerDataDistributor.removeSink(presenter);
    }
}

void MainWindow::mapMenuFill()
{
    ui->menuMap_Tuning->clear();
    mapActions.clear();
    const QMap<int, QString> maps = mapContainer.getMapList();
    for (auto map = maps.cbegin(); map != maps.cend(); ++map) {
        mapActions[ui->menuMap_Tuning->addAction(map.value())] = map.key();
    }
}

void MainWindow::mapMenuShowMapEditor(QAction* action)
{
    mapContainer.showMapTuner(ui->formContainer, mapActions[action]);
}
