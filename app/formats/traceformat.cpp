// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/traceformat.h"

#include "formats/tracereaders.h"

#include <QFile>
#include <algorithm>
#include <array>

namespace formats {

namespace {

// Three kinds share the words of .candump, on purpose.
constexpr std::array<TraceFormat, 6> traceFormats{{
    {".txt", "txt", nullptr, readTxt},
    {".candump", "candump", nullptr, readCandump},
    {".trc", "trc", nullptr, readTrc},
    {".csv", "csv", nullptr, readCsv},
    {".asc", "candump", "asc-%1.candump", readAsc},
    {".trace", "candump", nullptr, readTrace},
}};

} // namespace

const TraceFormat* traceFormat(const QString& fileName)
{
    const auto* const format = std::find_if(
        traceFormats.begin(), traceFormats.end(), [&fileName](const TraceFormat& candidate) {
            return fileName.endsWith(QLatin1String(candidate.nameEnd));
        });
    return format == traceFormats.end() ? nullptr : format;
}

QString readTraceFile(const TraceFormat& format, const QString& fileName, TraceImport& import)
{
    QFile file(fileName);
    file.open(QIODevice::ReadOnly);
    import.reserve(estimatedFrameCount(file));
    const int count = format.read(file, import);
    return QStringLiteral("Read %1 file. %2 canbus frames")
        .arg(QLatin1String(format.statusName))
        .arg(count);
}

} // namespace formats
