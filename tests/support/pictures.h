// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtWidgets>

// Counts what is painted of the widgets whose events it filters.
struct PaintCount : QObject
{
    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            const QRect place = static_cast<QPaintEvent*>(event)->region().boundingRect();
            ++paints;
            pixels += place.width() * place.height();
        }
        return false;
    }

    int paints = 0;
    double pixels = 0;
};

// What stands on the screen. A grab would paint the widget anew.
inline QImage screenOf(const QWidget& widget)
{
    return widget.screen()->grabWindow(widget.winId()).toImage();
}

// Of two pictures the largest difference of any pixel, in the parts of the mask.
inline int differenceOf(const QImage& one, const QImage& other, QRgb mask = ~0U)
{
    int largest = one.size() == other.size() ? 0 : 255;
    for (int i = 0; i < one.width() * one.height() && largest < 255; ++i) {
        const QPoint place(i % one.width(), i / one.width());
        const QRgb here = one.pixel(place) & mask;
        const QRgb there = other.pixel(place) & mask;
        for (const int shift : {0, 8, 16, 24}) {
            largest = qMax(largest, qAbs(int(here >> shift & 255) - int(there >> shift & 255)));
        }
    }
    return largest;
}

// Pixels of one picture that are like none of the other a pixel away, in both ways; not at the
// edges of the place.
template <typename IsAlike>
int lonelyPixels(const QImage& here, const QImage& there, const QRect& place, IsAlike isAlike)
{
    int lonely = 0;
    for (const auto& [one, other] : {std::pair(here, there), {there, here}}) {
        for (int y = place.top() + 1; y < place.bottom(); ++y) {
            for (int x = place.left() + 1; x < place.right(); ++x) {
                bool isNear = false;
                for (int i = 0; i < 9 && !isNear; ++i) {
                    isNear = isAlike(one.pixel(x, y), other.pixel(x + i % 3 - 1, y + i / 3 - 1));
                }
                lonely += isNear ? 0 : 1;
            }
        }
    }
    return lonely;
}
