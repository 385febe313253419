// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/frameconversion.h"

#include "formats/candumpline.h"

#include <QIODevice>

namespace formats {

namespace {

constexpr std::size_t BlockSize = 1 << 16;

} // namespace

FrameConversion::FrameConversion(QIODevice* candumpFile)
    : file(candumpFile != nullptr && candumpFile->isOpen() ? candumpFile : nullptr)
{}

FrameConversion::~FrameConversion()
{
    writeBlock();
}

void FrameConversion::write(double seconds, const CanFrames& frame)
{
    if (file == nullptr) {
        return;
    }
    const std::string_view payload(
        reinterpret_cast<const char*>(frame.payload), static_cast<std::size_t>(payloadSize(frame)));
    composeImportedFrameLine(line, seconds, frame.busNumber, frame.frameId, payload);
    block += line;
    if (block.size() >= BlockSize) {
        writeBlock();
    }
}

void FrameConversion::writeBlock()
{
    if (file != nullptr) {
        file->write(block.data(), static_cast<qint64>(block.size()));
    }
    block.clear();
}

} // namespace formats
