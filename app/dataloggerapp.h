// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/faultsdisplay.h"
#include "capture/candumpviewmodel.h"
#include "capture/candumpwindow.h"
#include "comm/commandsresponsereceiver.h"
#include "comm/commandssender.h"
#include "comm/comport.h"
#include "comm/portdiscovery.h"
#include "comm/responseinterfaces.h"
#include "formats/channels.h"
#include "formats/signaldecoder.h"
#include "platform/durablefile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QList>
#include <QMainWindow>
#include <QMap>
#include <QSerialPort>
#include <QSerialPortInfo>
#include <QSettings>
#include <QVector>
#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class AxisTag;
class QCPGraph;
class QCheckBox;
class QCustomPlot;
class QPushButton;
class QSlider;
class QTableWidgetItem;
class QTimer;
class Ui_DataLoggerApp;

namespace app {
class ChosenFile;
} // namespace app

namespace chart {
class LiveChart;
} // namespace chart

// The logging console's main window and the owner of everything in it: the link to one controller,
// the logging session and its file, the live chart, the capture of CAN frames, the fault service.
// Its slots react to the operator, its callbacks to the controller; nothing pairs the two. All of
// it runs on the GUI thread. Each subject has a source file of its own,
// dataloggerapp_<subject>.cpp.
//
// Scripts and tests reach the slots by name and index: helpers are plain members, never new slots.
class DataLoggerApp : public QMainWindow,
                      public IDataLoggerCommandsResponse,
                      public IControlerAdaptationResponse,
                      public IConfigCommandsResponse,
                      public ICandumpResponse,
                      public IFaultServiceCommandsResponse
{
    Q_OBJECT

public:
    explicit DataLoggerApp(QWidget* parent = nullptr);
    ~DataLoggerApp() override;

    void loggerStarted() override;
    void loggerDataReceived(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>&& values) override;
    // The file stays open on purpose: records that are still on their way are written, too.
    void loggerStopped() override {}

    // The console reads the configuration and never changes it: answers to a change mean nothing.
    void writeConfiguration(unsigned int /*result*/, unsigned int /*configId*/) override {}
    void readConfiguration(
        unsigned int result, unsigned int configId, const std::string& block) override;
    void eraseConfiguration(unsigned int /*result*/, unsigned int /*configId*/) override {}
    void writeCalibration(unsigned int /*result*/, unsigned int /*configId*/) override {}

    void adaptationStart() override;
    void adaptationStatus(IControlerAdaptationResponse::AdaptationStatus status) override;

    void candumpStart() override;
    void candumpStop() override {}
    void candump(
        int busNumber, int timestampMs, int canId, bool isExtended, bool isFd, bool isBitrateSwitch,
        const std::string& frameData) override;

    void faultGetFaultCountResp(int first, int second) override;
    void faultGetFaultsResp(std::vector<FaultItemData>&& items) override;
    void faultCleanFaultsResp() override {} // no control of the console clears faults

    // Marks the time of the latest record on the chart and, while a log is open, in the log.
    void addTag(QString text);

signals:
    // Shows a text in the status bar, the only place for messages to the operator.
    void addLog(QString);
    void promptReceived();
    void pongReceived(unsigned int);
    void writePort(std::string);
    void openPort(QSerialPortInfo*);

private slots:
    void on_candump_clicked(bool checked);
    void on_candump_clicked();
    void on_calibrationStart_clicked();
    void on_refreshRate_valueChanged(int arg1);
    void on_mapTuner_clicked();
    void on_canMsg_stateChanged(int arg1);
    void on_virtualInput_sliderMoved(int position);
    void on_virtualInputsShow_stateChanged(int arg1);
    void on_dataSelectorShow_stateChanged(int arg1);
    void seriesVisible_stateChanged(int arg1);
    void refreshPorts();
    void on_pushButton_2_clicked();
    void readPort(std::string);
    void on_promptReceived();
    void on_pongReceived(unsigned int);
    void on_startLogging_clicked();
    void on_stopLogging_clicked();
    void on_ping_timer();
    void on_actionOpen_with_Timestamp_triggered(bool);
    void on_faultTimer_tieout();
    void on_canMsgSend_clicked();
    void on_autostart_stateChanged(int arg1);
    void on_splitter_2_splitterMoved(int pos, int index);
    void on_splitter_splitterMoved(int pos, int index);
    void on_widget_2_customContextMenuRequested(const QPoint& pos);
    void on_channelCount_currentIndexChanged(int index);
    void on_canTraceFrames_itemChanged(QTableWidgetItem* item);
    void on_addCanTrace_clicked();
    void on_PValue_valueChanged(double arg1);
    void on_faultStatus_clicked();
    void on_saveCanSignals_clicked();
    void on_loadCanSignals_clicked();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    static constexpr int VirtualInputTotal = 12;

    void restoreWindow();
    void restoreControls();
    void createChart();
    void createChannels();
    void createVirtualInputs();
    void connectLink();
    void prepareFolders();
    void labelSignalColumns();
    void fitSignalColumns();
    void attachWindow(QPushButton* button, QWidget& window);

    void restorePanel(QCheckBox* box, QWidget* panel, const QString& hiddenKey);
    void showPanel(QWidget* panel, const QString& hiddenKey, int state);
    void connectPort();
    void disconnectPort();
    void listPorts();
    QTimer* startSessionTimer(int intervalMs, void (DataLoggerApp::*tick)());
    void requestReplot();
    void openCandumpFile(const QString& path, QIODevice::OpenMode mode);

    void addSignal(const CanSignalData& signal);
    void rebuildSignalGraph(int row);
    void readChosenFile(const QString& filter, const std::function<void(app::ChosenFile&)>& read);
    void importFile(app::ChosenFile& file);
    bool importBlackbox(app::ChosenFile& file);
    void loadSignals(app::ChosenFile& file);
    void importLog(app::ChosenFile& file);
    void takeTimestamp(int timestamp);
    unsigned elapsed() const;
    void labelStrip(const QStringList& labels);
    void serveLink();
    void listIdentifiers();
    template <typename Read>
    void importFrames(const char* conversionPattern, Read read);

    std::unique_ptr<Ui_DataLoggerApp> ui;
    QTimer* portRefreshTimer = nullptr;
    QDir baseDir;   // the console's folder in the documents folder
    QDir backupDir; // of the controller last connected to, baseDir before
    QDir logDir;    // likewise
    QString reservedText;
    int windowLength = 0;         // never took effect: the view is the operator's
    QList<QSerialPortInfo> ports; // the entries of the port list, by index
    QSerialPort reservedPort;     // never opened: the port in use lives in comPort
    ComPort comPort;
    CommandsSender commandsSender;
    CommandsResponseReceiver responseReceiver;
    QTimer* pingTimer = nullptr;  // of the latest session; null when there is none
    QTimer* faultTimer = nullptr; // of the latest session; earlier ones tick on
    QElapsedTimer* pongClock = nullptr;
    FaultsDisplay faultsDisplay;
    QCustomPlot* plot = nullptr;
    std::array<QCheckBox*, formats::ChannelTotal> seriesCheckBoxes{};
    QVector<QString> channelLabels;       // log column names; "x" is a channel without a name
    QVector<CanFrames> canTraceFrameList; // of all imports, in the order of reading
    QVector<QCPGraph*> canSignalGraphs;   // by row of the signal table
    QVector<CanSignalData> canSignals;    // likewise
    std::array<QSlider*, VirtualInputTotal> virtualInputSliders{};
    platform::DurableFile logFile;
    platform::DurableFile candumpFile;
    int recordCounter = 0;
    int firstTimestamp = -1;  // controller time in ms, an unsigned 32-bit pattern; -1 before the
    int lastTimestamp = -1;   // first record of the program's run
    QMap<int, AxisTag*> tags; // the latest tag of each record, by lastTimestamp
    QSettings settings;
    CandumpViewModel candumpModel;
    CandumpWindow candumpWindow;
    bool configRead0 = false;
    bool configRead6 = false;

    chart::LiveChart* liveChart = nullptr; // the plot, by its own type
    comm::PortList portList;
    std::string logLine;            // reused from record to record
    std::string candumpLine;        // reused from frame to frame
    formats::FrameIndex frameIndex; // of canTraceFrameList; extend() before use
    bool holdStrip = false;         // the strip waits until many boxes have changed
    bool importing = false;         // a file is being read; the chart waits
    bool captureBegan = false;      // since a file began to be read
    bool tagsToLog = true;          // those of the file that is being read
    bool writingCells = false;      // the console itself is changing cells
};
