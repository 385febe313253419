// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <QSize>
#include <vector>

namespace simulator {

// The controller's calibration maps: tables of integers with integer breakpoints on both axes, kept
// as the messages in which they are sent. Maps are numbered from 0; in the values of a map the X
// index runs fastest. Sizes are columns by rows.
using CalibrationMaps = std::vector<xcu::MapTunerGetMapResp>;

CalibrationMaps makeMaps(const std::vector<QSize>& sizes, quint32 seed);

// Does what a command of the map tuner says and fills in the answer; ignores other commands. A
// map that does not exist is answered as an empty one. The result of a change is 0 when the value
// is stored, 1 for a map that does not exist, 2 for a label or cell that does not.
void answer(CalibrationMaps& maps, const xcu::Command& command, xcu::Response& response);

} // namespace simulator
