// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QCheckBox;

namespace console {

// Tells which curve belongs to a box of the strip: a square in the curve's colour, and a tool tip
// with the number of the channel, 0 to 127, as in the log and in commands.
void showChannel(QCheckBox* box, int channel);

} // namespace console
