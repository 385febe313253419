// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/logsource.h"

namespace convert {

// The most and the least inputs and outputs that a black-box record has at a time.
struct BlackboxShape
{
    std::size_t mostInputs = 0;
    std::size_t leastInputs = SIZE_MAX;
    std::size_t mostOutputs = 0;
    std::size_t leastOutputs = SIZE_MAX;

    // Channels from the first on that no record lacks.
    std::size_t wholeChannels() const;
};
BlackboxShape blackboxShape(InputFile& file);

// Gives the records of a black-box record as those of a log with the channels In0 and on, Out0 and
// on. A record that lacks some has empty values.
void readBlackboxLog(
    InputFile& file, const BlackboxShape& shape, LogTarget& target, Report* report);

} // namespace convert
