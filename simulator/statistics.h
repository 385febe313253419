// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace simulator {

struct ControllerUnit;

// What one controller was told and has said so far, a count a line: serial number, colon, name of
// the count, number. Commands stand by their names in the schema; those that never came are left
// out.
QString statisticsText(const ControllerUnit& unit);

} // namespace simulator
