// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "chart/livechart.h"
#include "formats/blackboxreader.h"
#include "formats/filestamp.h"
#include "formats/logfile.h"
#include "formats/traceimport.h"
#include "formats/tracereaders.h"
#include "platform/trace.h"
#include "ui_dataloggerapp.h"

#include <QFileDialog>
#include <QSet>
#include <qcustomplot.h>

namespace {

// Between two turns of the event loop while a file is read, in ms: at the fastest pace of a session
// every request still leaves.
constexpr int ServeIntervalMs = 1;

// Calls a function before each block is read.
class PausingFile : public QFile
{
public:
    PausingFile(const QString& name, std::function<void()> pauseFunction)
        : QFile(name)
        , pause(std::move(pauseFunction))
    {
        open(QIODevice::ReadOnly);
    }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        pause();
        return QFile::readData(data, size);
    }

private:
    std::function<void()> pause;
};

} // namespace

// Opens a log, a black-box record or a CAN trace, by the end of the name. Nothing is
// cleared first: curves, tags, frames and identifiers add up.
void DataLoggerApp::on_actionOpen_with_Timestamp_triggered(bool)
{
    if (importing) {
        return;
    }
    const QString name = QFileDialog::getOpenFileName(
        this, tr("Open log file"), QString(), tr("Log Files (*.log);; Any File (*.*)"));
    if (name.isEmpty()) {
        return;
    }
    importing = true;
    sinceServed.start();
    bool isComplete = true;
    if (const formats::TraceFormat* format = formats::traceFormat(name)) {
        importTrace(*format, name);
    } else if (name.endsWith(QLatin1String(".rbx"))) {
        isComplete = importBlackbox(name);
    } else {
        importLog(name);
    }
    if (isComplete) {
        listIdentifiers();
    }
    importing = false;
    requestReplot();
}

// Called all the time while a file is read: runs what is due in the event loop, so that a session
// goes on. Records and frames are asked for, taken and written, ports watched, texts painted.
//
// The operator's keys and clicks wait, in their order, until the file is read: what they do then
// meets a complete import. So does the window's close button. What comes from elsewhere does not
// wait: a second "Open" is passed over, an unplugged controller disconnects, and a program that is
// asked to quit reads to the end first.
void DataLoggerApp::serveLink()
{
    if (sinceServed.hasExpired(ServeIntervalMs - 1)) {
        frameIndex.extend(canTraceFrameList); // a little now and then instead of much at the end
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        sinceServed.start();
    }
}

// Sorted by character and not by value: "0x18daf110" stands before "0x7ff".
void DataLoggerApp::listIdentifiers()
{
    QSet<QString> shown;
    for (int row = 0; row < ui->canFrameIds->count(); ++row) {
        shown.insert(ui->canFrameIds->item(row)->text());
    }
    frameIndex.extend(canTraceFrameList);
    for (const QString& identifier : frameIndex.identifierTexts()) {
        if (!shown.contains(identifier)) {
            ui->canFrameIds->addItem(identifier);
        }
    }
    ui->canFrameIds->sortItems();
}

// Has frames put into the list, and into the file of a conversion if there is a name for it. It
// lies in the working directory. A capture that runs keeps its file until the conversion is
// complete, and goes on behind it.
template <typename Read>
void DataLoggerApp::importFrames(const char* conversionPattern, Read read)
{
    QFile conversion;
    if (conversionPattern != nullptr) {
        conversion.setFileName(formats::stampedName(conversionPattern));
        conversion.open(QIODevice::WriteOnly);
    }
    {
        formats::TraceImport import(
            canTraceFrameList, &conversion, &platform::traceLine<std::string_view>);
        read(import);
    }
    if (conversionPattern != nullptr) {
        conversion.close();
        openCandumpFile(conversion.fileName(), QIODevice::Append);
    }
}

void DataLoggerApp::importTrace(const formats::TraceFormat& format, const QString& name)
{
    PausingFile file(name, [this] { serveLink(); });
    int count = 0;
    importFrames(format.convertedName, [&](formats::TraceImport& import) {
        import.reserveFor(file);
        count = format.read(file, import);
    });
    const auto text = QStringLiteral("Read %1 file. %2 canbus frames");
    emit addLog(text.arg(QLatin1String(format.statusName)).arg(count));
}

// False for a record without log lines: the identifiers of its frames wait for the next import.
bool DataLoggerApp::importBlackbox(const QString& name)
{
    const auto pause = [this] { serveLink(); };
    PausingFile file(name, pause);
    const formats::BlackboxRecord record(file, pause);
    importFrames(
        "canbb-%1.candump", [&record](formats::TraceImport& import) { record.readFrames(import); });
    firstTimestamp = record.firstTimestamp(); // for sessions: the record's times stay absolute
    emit addLog(record.statusText());
    if (record.hasLog()) {
        const QStringList texts = record.channelTexts();
        for (int channel = 0; channel < texts.size(); ++channel) {
            seriesCheckBoxes[channel]->setText(texts[channel]);
        }
        record.readRecords([this](int timestamp, int firstChannel, const std::vector<int>& values) {
            liveChart->addRecord(formats::chartSeconds(timestamp), values, firstChannel);
        });
    }
    return record.hasLog();
}

// Takes up the lines of a log one by one, as if its session took place now.
void DataLoggerApp::importLog(const QString& name)
{
    platform::traceLine("catchall");
    PausingFile file(name, [this] { serveLink(); });
    const auto takeHeader = [this](const QStringList& labels) { labelStrip(labels); };
    const auto takeTag = [this](int timestamp, const QString& text) {
        takeTimestamp(timestamp);
        addTag(text); // reaches the log of a session, too, if one is open
        serveLink();
    };
    const auto takeRecord = [this](int timestamp, const std::vector<int>& values) {
        takeTimestamp(timestamp);
        const auto sinceFirst = static_cast<int>(elapsed());
        liveChart->addRecord(formats::chartSeconds(sinceFirst), values);
    };
    formats::readLog(file, plot->graphCount(), {takeHeader, takeTag, takeRecord});
}

// Channels that a log does not name lose their box for good.
void DataLoggerApp::labelStrip(const QStringList& labels)
{
    holdStrip = true;
    bool changed = false;
    for (int channel = 0; channel < labels.size(); ++channel) {
        QCheckBox* box = seriesCheckBoxes[channel];
        channelLabels[channel] = labels[channel];
        box->setText(labels[channel]);
        if (labels[channel] == QLatin1String("x")) {
            changed = changed || box->isChecked();
            box->setCheckState(Qt::Unchecked);
            box->hide();
        }
    }
    holdStrip = false;
    if (changed) {
        seriesVisible_stateChanged(Qt::Unchecked);
    }
}
