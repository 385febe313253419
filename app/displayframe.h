// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The pace of displays, in ms a frame. Nothing is painted more often, for nobody could see it, and
// while the window paints no record is read.
constexpr int DisplayFrameMs = 16;
