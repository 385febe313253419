// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/logsource.h"

namespace convert {

// Looks through the records of a black-box record, as LogSurvey wants them.
void surveyBlackbox(InputFile& file, LogSurvey& survey, Report& report);

// Gives them as those of a log. A record that lacks channels has empty values.
void readBlackboxLog(InputFile& file, const LogSurvey& survey, LogTarget& target);

} // namespace convert
