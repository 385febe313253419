// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/windowplacement.h"

#include <QScreen>
#include <QWindow>
#include <algorithm>

namespace platform {

namespace {

// A window manager frames a window some time after show(), and nothing tells when: each event of
// the window asks.
class Placement : public QObject
{
public:
    explicit Placement(QWindow* placed)
        : QObject(placed)
        , window(placed)
    {
        window->installEventFilter(this);
    }

    bool eventFilter(QObject* /*watched*/, QEvent* /*event*/) override
    {
        if (window->isExposed() && window->windowStates() == Qt::WindowNoState &&
            !window->frameMargins().isNull()) {
            window->removeEventFilter(this);
            const QRect frame = window->frameGeometry();
            const QPoint place = framePosition(frame, window->screen()->availableGeometry());
            if (place != frame.topLeft()) {
                window->setFramePosition(place);
            }
            deleteLater();
        }
        return false;
    }

private:
    QWindow* window;
};

} // namespace

QPoint framePosition(const QRect& frame, const QRect& available)
{
    const auto position = [](int from, int size, int start, int room) {
        return std::max(start, std::min(from, start + room - size));
    };
    return {
        position(frame.x(), frame.width(), available.x(), available.width()),
        position(frame.y(), frame.height(), available.y(), available.height())};
}

void placeWhenFramed(QWindow* window)
{
    new Placement(window); // belongs to the window
}

} // namespace platform
