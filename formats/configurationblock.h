// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <string>
#include <vector>

namespace formats {

// A configuration block as the controller sends it and as a .xcu backup holds it: a 32-bit
// little-endian length and one serialized xcu::ConfigData. What follows is ignored; where bytes are
// missing, those that are there are read.

struct ChannelLabel
{
    int channel; // 0 to 127
    QString text;
};

// True for a block that was never written (length 0xFFFFFFFF) and for one without a whole length.
bool isEmptyConfigurationBlock(const std::string& block);

// The channels that the block names, inputs first, each in the order of the block: a later label of
// a channel replaces an earlier one. Text is "name (word and number)", or for an entry without a
// name the bare word of its type. What of a name is not UTF-8 becomes U+FFFD. A damaged block gives
// what was read up to the damage.
std::vector<ChannelLabel> readChannelLabels(const std::string& block);

} // namespace formats
