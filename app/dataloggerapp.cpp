// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"

#include "chart/axistag.h"
#include "display/paintpacer.h"
#include "formats/signalset.h"
#include "ui_dataloggerapp.h"

#include <QElapsedTimer>
#include <QEvent>
#include <qcustomplot.h>

namespace {

constexpr int PortRefreshMs = 100;
constexpr QSize MostSize(16384, 16384); // more cannot be painted

// The stored value says the opposite of what these names suggest: true is a hidden panel. Stores in
// the field hold it so. The last one belongs to the CAN send panel.
const QString ChannelStripHidden = QStringLiteral("ui/showChannelSelector");
const QString VirtualInputsHidden = QStringLiteral("ui/virtualInputShow");
const QString CanSendHidden = QStringLiteral("ui/pidTunerShow");

// Of the columns of the signal table; the one behind them, the name, has no title.
struct ColumnHeader
{
    const char* title;
    const char* tip;
};

constexpr ColumnHeader SignalHeaders[] = {
    {"Frame", "Identifier of the frames in hexadecimal, on any bus."},
    {"Offset", "First bit, counted in the bit order of Show."},
    {"Length", "Number of bits. Offset plus length is at most 512."},
    {"Multiplier", "Factor for the raw value. An empty cell is 0: the curve is flat."},
    {"Add", "Added after the multiplication."},
    {"Show", "0: off. 1, 3: least significant bit first. 2, 4: most significant. 3, 4: signed."},
    {"Mux offset", "First bit of the multiplexer, counted in the bit order of Show."},
    {"Mux length", "Number of bits of the multiplexer. 0: no multiplexer."},
    {"Mux value", "Value of the multiplexer in hexadecimal. Other frames are left out."},
    {"FrameLength", "Length of the frames in bytes. Other frames are left out. -1: any length."},
};
static_assert(std::size(SignalHeaders) == formats::NameColumn, "a header for each column");

} // namespace

DataLoggerApp::DataLoggerApp(QWidget* parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui_DataLoggerApp>())
    , commandsSender(comPort)
    , responseReceiver(nullptr, this, this, nullptr, nullptr, this, this, this, nullptr)
    , faultsDisplay(commandsSender, nullptr)
    , channelLabels(formats::ChannelTotal, QStringLiteral("x"))
    , settings(QStringLiteral("CorvaneMotionSystems"), QStringLiteral("DataLogger"))
    , candumpWindow(&candumpModel, nullptr)
{
    qRegisterMetaType<std::string>("std::string");
    // From here on a change to a widget runs its slot, which writes the setting back.
    ui->setupUi(this);
    restoreWindow();
    restoreControls();
    createChart();
    restorePanel(ui->dataSelectorShow, ui->dataSeriesWidget, ChannelStripHidden);
    createVirtualInputs();
    restorePanel(ui->virtualInputsShow, ui->virtualInputsWidget, VirtualInputsHidden);
    restorePanel(ui->canMsg, ui->CanbusWidget, CanSendHidden);
    connectLink();
    prepareFolders();
    labelSignalColumns();
    attachWindow(ui->candump, candumpWindow);
    attachWindow(ui->faultStatus, faultsDisplay);
}

DataLoggerApp::~DataLoggerApp()
{
    settings.setValue(QStringLiteral("ui/isMaximized"), isMaximized());
    settings.setValue(QStringLiteral("ui/size"), size());
    settings.setValue(QStringLiteral("ui/pos"), pos());
    settings.setValue(QStringLiteral("ui/refreshRate"), ui->refreshRate->value());
    ui.reset();
    // Tags in the order of their making: the plot itself would take them off from the back and look
    // through all that are left for each, which takes seconds after a day of slider moves.
    qDeleteAll(plot->xAxis->findChildren<AxisTag*>(QString(), Qt::FindDirectChildrenOnly));
    for (QCPGraph* graph : qAsConst(canSignalGraphs)) {
        plot->removeGraph(graph); // likewise
    }
    delete pongClock;
    delete portRefreshTimer;
}

// An entry of a menu clears the status line as the pointer passes over it, by its empty status tip.
// A text is to stay until the next one.
bool DataLoggerApp::event(QEvent* event)
{
    return event->type() == QEvent::StatusTip || QMainWindow::event(event);
}

void DataLoggerApp::restoreWindow()
{
    const QSize size = settings.value(QStringLiteral("ui/size"), QSize(400, 400)).toSize();
    resize(size.boundedTo(MostSize));
    move(settings.value(QStringLiteral("ui/pos"), QPoint(200, 200)).toPoint());
    // Not toBool(): of the texts that a store may hold only "true" counts.
    if (settings.value(QStringLiteral("ui/isMaximized")).toString() == QLatin1String("true")) {
        showMaximized();
    }
    settings.value(QStringLiteral("ui/advanced"), false).toBool(); // has no effect
}

void DataLoggerApp::restoreControls()
{
    ui->channelCount->setCurrentIndex(
        settings.value(QStringLiteral("ui/channelsCount"), 1).toInt());
    // Without a stored pace this is 0, and the box makes it 1 ms, not the form's 200 ms.
    ui->refreshRate->setValue(settings.value(QStringLiteral("ui/refreshRate")).toInt());
    // What a window has beyond the smallest size is for chart and panels, not for the signal table.
    ui->splitter_2->setSizes({1, 1});
    ui->splitter->restoreState(settings.value(QStringLiteral("ui/channelLayout")).toByteArray());
    ui->splitter_2->restoreState(settings.value(QStringLiteral("ui/canLayout")).toByteArray());
    // A store may hold any number, and a check box takes it for its state.
    const int autostart = settings.value(QStringLiteral("ui/autostart")).toInt();
    ui->autostart->setCheckState(
        static_cast<Qt::CheckState>(qBound<int>(Qt::Unchecked, autostart, Qt::Checked)));
}

void DataLoggerApp::connectLink()
{
    portRefreshTimer = new QTimer;
    connect(portRefreshTimer, &QTimer::timeout, this, &DataLoggerApp::refreshPorts);
    portRefreshTimer->start(PortRefreshMs);
    // Left to itself the bar is painted in every pass of the event loop, which costs more than the
    // few records that such a pass brings.
    auto* pacer = new display::PaintPacer([bar = ui->statusBar] { bar->update(); }, ui->statusBar);
    connect(this, &DataLoggerApp::addLog, pacer, [bar = ui->statusBar, pacer](const QString& text) {
        // Not setUpdatesEnabled(), which would paint the bar when it is set again.
        bar->setAttribute(Qt::WA_UpdatesDisabled, true);
        bar->showMessage(text);
        bar->setAttribute(Qt::WA_UpdatesDisabled, false);
        pacer->request();
    });
    connect(this, &DataLoggerApp::pongReceived, this, &DataLoggerApp::on_pongReceived);
    connect(&comPort, &ComPort::commandRead, this, &DataLoggerApp::readPort);
}

void DataLoggerApp::labelSignalColumns()
{
    int column = 0; // the last column, a signal's name, stays without a title
    for (const ColumnHeader& text : SignalHeaders) {
        auto* title = new QTableWidgetItem(QLatin1String(text.title));
        title->setToolTip(QLatin1String(text.tip));
        ui->canTraceFrames->setHorizontalHeaderItem(column++, title);
    }
    QHeaderView* header = ui->canTraceFrames->horizontalHeader();
    header->setToolTip(QStringLiteral("Name of the signal. It has no effect."));
    header->setResizeContentsPrecision(100); // rows: a loaded set may have thousands
    connect(
        ui->addCanTrace, &QPushButton::clicked, ui->canTraceFrames, &QTableWidget::scrollToBottom);
    fitSignalColumns();
}

void DataLoggerApp::fitSignalColumns()
{
    QHeaderView* header = ui->canTraceFrames->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(header->count() - 1, QHeaderView::Stretch);
}

// The button's slot shows the window, which leaves an open one behind others.
void DataLoggerApp::attachWindow(QPushButton* button, QWidget& window)
{
    window.setWindowIcon(windowIcon());
    connect(button, &QPushButton::clicked, &window, [&window] {
        window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
        window.raise();
        window.activateWindow();
    });
}

void DataLoggerApp::restorePanel(QCheckBox* box, QWidget* panel, const QString& hiddenKey)
{
    if (settings.value(hiddenKey, false).toBool()) {
        panel->hide();
        box->setCheckState(Qt::Unchecked);
    } else {
        box->setCheckState(Qt::Checked); // runs the slot, which shows the panel
    }
}

void DataLoggerApp::showPanel(QWidget* panel, const QString& hiddenKey, int state)
{
    settings.setValue(hiddenKey, state == Qt::Unchecked);
    panel->setVisible(state != Qt::Unchecked);
    const bool anyPanel = ui->dataSelectorShow->checkState() == Qt::Checked ||
                          ui->virtualInputsShow->checkState() == Qt::Checked ||
                          ui->canMsg->checkState() == Qt::Checked;
    ui->addonsContainer->setVisible(anyPanel);
}

void DataLoggerApp::on_dataSelectorShow_stateChanged(int arg1)
{
    showPanel(ui->dataSeriesWidget, ChannelStripHidden, arg1);
}

void DataLoggerApp::on_virtualInputsShow_stateChanged(int arg1)
{
    showPanel(ui->virtualInputsWidget, VirtualInputsHidden, arg1);
}

void DataLoggerApp::on_canMsg_stateChanged(int arg1)
{
    showPanel(ui->CanbusWidget, CanSendHidden, arg1);
}
