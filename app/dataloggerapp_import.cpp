// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/chosenfile.h"
#include "app/dataloggerapp.h"
#include "chart/livechart.h"
#include "formats/blackboxreader.h"
#include "formats/filestamp.h"
#include "formats/lenienttraces.h"
#include "formats/logfile.h"
#include "formats/traceimport.h"
#include "platform/diagnostics.h"
#include "ui_dataloggerapp.h"

#include <QFileDialog>
#include <QSet>
#include <qcustomplot.h>

// Opens a log, a black-box record or a CAN trace, by the end of the name. Nothing is
// cleared first: curves, tags, frames and identifiers add up.
void DataLoggerApp::on_actionOpen_with_Timestamp_triggered(bool)
{
    readChosenFile(tr("Log Files (*.log);; Any File (*.*)"), [this](app::ChosenFile& file) {
        importFile(file);
    });
}

void DataLoggerApp::readChosenFile(
    const QString& filter, const std::function<void(app::ChosenFile&)>& read)
{
    if (importing) {
        return;
    }
    const QString name = QFileDialog::getOpenFileName(this, tr("Open log file"), QString(), filter);
    if (name.isEmpty()) {
        return;
    }
    importing = true;
    captureBegan = false;
    app::readChosenFile(
        name, [this] { serveLink(); }, read);
    importing = false;
    tagsToLog = true;
    requestReplot(); // also where nothing new can be seen
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
    frameIndex.extend(canTraceFrameList); // a little now and then instead of much at the end
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
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
// complete, and goes on behind it; one that has begun meanwhile keeps its file for good, and so
// does one if the conversion cannot be written.
template <typename Read>
void DataLoggerApp::importFrames(const char* conversionPattern, Read read)
{
    QFile conversion;
    bool isConverted = false;
    if (conversionPattern != nullptr) {
        conversion.setFileName(formats::stampedName(conversionPattern));
        isConverted = conversion.open(QIODevice::WriteOnly);
    }
    {
        formats::TraceImport import(
            canTraceFrameList, &conversion, &platform::printLine<std::string_view>);
        read(import);
    }
    conversion.close();
    if (isConverted && !captureBegan) {
        openCandumpFile(conversion.fileName(), QIODevice::Append);
    }
}

void DataLoggerApp::importFile(app::ChosenFile& file)
{
    if (const formats::TraceFormat* format = formats::traceFormat(file.fileName())) {
        int count = 0;
        importFrames(format->convertedName, [&](formats::TraceImport& import) {
            import.reserveFor(file);
            count = format->read(file, import);
        });
        const auto text = QStringLiteral("Read %1 file. %2 canbus frames");
        emit addLog(text.arg(QLatin1String(format->statusName)).arg(count));
    } else if (!file.fileName().endsWith(QLatin1String(".rbx"))) {
        importLog(file);
    } else if (!importBlackbox(file)) {
        return; // without log lines, the identifiers of its frames wait for the next import
    }
    listIdentifiers();
}

bool DataLoggerApp::importBlackbox(app::ChosenFile& file)
{
    const formats::BlackboxRecord record(file);
    // For sessions, whose records may come while the frames are read; the file's times stay
    // absolute.
    firstTimestamp = record.firstTimestamp();
    emit addLog(record.statusText());
    importFrames(
        "canbb-%1.candump", [&record](formats::TraceImport& import) { record.readFrames(import); });
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
void DataLoggerApp::importLog(app::ChosenFile& file)
{
    platform::printLine("catchall");
    tagsToLog = !logFile.isSameAs(file);
    const auto takeHeader = [this](const QStringList& labels) { labelStrip(labels); };
    const auto takeTag = [this, &file](int timestamp, const QString& text) {
        takeTimestamp(timestamp);
        addTag(text); // reaches the log of a session, too, if it is another one
        file.pause();
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
