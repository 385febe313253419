// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/plotcanvas.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

bool differ(const QRgb* a, const QRgb* b, int from, int to)
{
    return from < to && std::memcmp(a + from, b + from, size_t(to - from) * sizeof(QRgb)) != 0;
}

} // namespace

PlotCanvas::PlotCanvas(QCPPainter* plotPainter, const QRect& rectangle)
    : painter(plotPainter)
    , pixmap(dynamic_cast<const QPixmap*>(plotPainter->device()))
{
    const double exactRatio = pixmap ? pixmap->devicePixelRatioF() : 0;
    if (exactRatio >= 1 && exactRatio == std::floor(exactRatio)) {
        ratio = int(exactRatio);
        area = rectangle & QRect(QPoint(0, 0), pixmap->size() / ratio);
    }
}

QRect PlotCanvas::rectOf(const ColumnSpan& span) const
{
    return QRect(QPoint(span.first, area.top()), QPoint(span.last, area.bottom()));
}

QImage PlotCanvas::picture() const
{
    QImage result(area.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    copyInto(&result, columns());
    return result;
}

void PlotCanvas::copyInto(QImage* picture, const ColumnSpan& span) const
{
    if (span.isEmpty()) {
        return;
    }
    const QRect rect = rectOf(span);
    const QRect source(rect.topLeft() * ratio, rect.size() * ratio);
    QPainter copier(picture);
    copier.setCompositionMode(QPainter::CompositionMode_Source);
    // The raster engine allows to copy from a pixmap that is being painted on.
    copier.drawPixmap(source.translated(-area.topLeft() * ratio), *pixmap, source);
}

void PlotCanvas::putBackOutside(const QImage& picture, const ColumnSpan& span) const
{
    painter->save();
    painter->setAntialiasing(false); // which takes back a shift by half a pixel
    painter->setCompositionMode(QPainter::CompositionMode_Source);
    if (span.isEmpty()) {
        putBack(picture, columns());
    } else {
        putBack(picture, {area.left(), span.first - 1});
        putBack(picture, {span.last + 1, area.right()});
    }
    painter->restore();
}

void PlotCanvas::putBack(const QImage& picture, const ColumnSpan& span) const
{
    if (span.isEmpty()) {
        return;
    }
    const QRect rect = rectOf(span);
    painter->drawImage(
        rect, picture, QRect((rect.topLeft() - area.topLeft()) * ratio, rect.size() * ratio));
}

ColumnSpan PlotCanvas::differences(const QImage& a, const QImage& b, const ColumnSpan& known) const
{
    // In device pixels of the picture: from left, and up to right, nothing needs to be looked at.
    const int width = a.width();
    int left = known.isEmpty() ? width : qBound(0, (known.first - area.left()) * ratio, width);
    int right = known.isEmpty() ? 0 : qBound(0, (known.last + 1 - area.left()) * ratio, width);
    for (int y = 0; y < a.height(); ++y) {
        const auto* rowA = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const auto* rowB = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        if (differ(rowA, rowB, 0, left)) {
            left = int(std::mismatch(rowA, rowA + left, rowB).first - rowA);
        }
        if (differ(rowA, rowB, qMax(left, right), width)) {
            for (right = width; rowA[right - 1] == rowB[right - 1];) {
                --right;
            }
        }
    }
    return {area.left() + left / ratio, area.left() + (right - 1) / ratio};
}
