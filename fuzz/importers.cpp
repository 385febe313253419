// SPDX-License-Identifier: GPL-3.0-or-later

// One file through all readers of traces in text form and the log reader. None gives out more than
// a file of that size can hold.
#include "formats/logreader.h"
#include "formats/traceframes.h"
#include "formats/traceimport.h"
#include "formats/tracereaders.h"

#include <QBuffer>
#include <cstdlib>

namespace {

struct LogCount : formats::LogSink
{
    std::size_t count = 0;

    void addHeader(const QStringList& labels) override { count += unsigned(labels.size()); }
    void addTag(int, const QString&) override { ++count; }
    void addRecord(int, const std::vector<int>& values) override { count += values.size(); }
};

struct FrameCount : formats::FrameSink
{
    std::size_t count = 0;
    bool isRight = true;

    void addFrame(const formats::TraceFrame& frame) override
    {
        ++count;
        isRight &= frame.length >= 0 && frame.length <= formats::TraceFrame::MostBytes;
    }
    void addOddity(const char*, std::int64_t) override {}
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    QBuffer device;
    device.setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    device.open(QIODevice::ReadOnly);
    LogCount log;
    formats::readLog(device, 131, log);
    bool isRight = log.count <= size;
    for (const formats::TraceFormat& format : formats::traceFormats()) {
        device.seek(0);
        QVector<CanFrames> frames;
        formats::TraceImport import(frames);
        const int count = format.read(device, import);
        isRight &= count == frames.size() && static_cast<std::size_t>(count) <= size;
    }
    using formats::TraceKind;
    for (const TraceKind kind :
         {TraceKind::Txt, TraceKind::Candump, TraceKind::Trc, TraceKind::Csv, TraceKind::Asc,
          TraceKind::DotTrace}) {
        device.seek(0);
        FrameCount frames;
        formats::readFrames(device, kind, frames);
        isRight &= frames.isRight && frames.count <= size;
    }
    if (!isRight) {
        std::abort();
    }
    return 0;
}
