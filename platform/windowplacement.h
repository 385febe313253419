// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPoint>
#include <QRect>

class QWindow;

namespace platform {

// Where the top left corner of a window's frame goes so that the whole frame lies in the available
// area of the screen. A frame that is too large begins where the area does: its title bar has to be
// in reach. All in pixels of the desktop.
QPoint framePosition(const QRect& frame, const QRect& available);

// Moves a window that has been shown to that position, once, when the window manager has given it a
// frame. A window without a frame, or without a window manager, stays where it was put.
void placeWhenFramed(QWindow* window);

} // namespace platform
