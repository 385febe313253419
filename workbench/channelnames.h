// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

namespace workbench {

// The names of channels first to end - 1, counted from 0, as the viewers show them. They come from
// a settings store that others may fill, under "ui/channels/<channel>/label"; a channel without an
// entry is called "data <channel + 1>". The store is read anew by each call.
QStringList channelNames(int first, int end);

} // namespace workbench
