// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/canframes.h"

#include <string>

class QIODevice;

namespace formats {

// Writes imported frames as lines of a .candump file, in large blocks; the rest when the object
// goes. The file is not flushed.
class FrameConversion
{
public:
    // No file, or one that is not open, loses the lines.
    explicit FrameConversion(QIODevice* candumpFile);
    ~FrameConversion();
    FrameConversion(const FrameConversion&) = delete;
    FrameConversion& operator=(const FrameConversion&) = delete;

    void write(double seconds, const CanFrames& frame);

private:
    void writeBlock();

    QIODevice* const file;
    std::string line;
    std::string block;
};

} // namespace formats
