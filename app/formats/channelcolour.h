// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>

namespace formats {

// Colour of logger channel `index`, counted from 0, and of the CAN signal of the same index: three
// sines of different pace, so that neighbours differ. Each component lies between 0 and 200.
QColor channelColour(int index);

} // namespace formats
