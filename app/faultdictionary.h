// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

// Description of a fault by its category and its number within the category, for the GUI thread.
// The dictionary holds no texts yet, so it is empty for every fault.
std::string getFaultDescription(int category, int faultId);
