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
    if (!pixmap) {
        return;
    }
    const double exactRatio = pixmap->devicePixelRatioF();
    if (exactRatio >= 1 && exactRatio == std::floor(exactRatio)) {
        ratio = int(exactRatio);
        area = rectangle & QRect(QPoint(0, 0), pixmap->size() / ratio);
    }
}

QRect PlotCanvas::rectOf(const ColumnSpan& span) const
{
    return QRect(QPoint(span.first, area.top()), QPoint(span.last, area.bottom()));
}

void PlotCanvas::copyInto(QImage* picture, const ColumnSpan& span) const
{
    const QSize size = area.size() * ratio;
    if (picture->size() != size) {
        *picture = QImage(size, QImage::Format_ARGB32_Premultiplied);
    }
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

void PlotCanvas::putBackOutside(
    const QImage& picture, const ColumnSpan& span, const ColumnSpan& changed) const
{
    painter->save();
    painter->setAntialiasing(false); // which takes back a shift by half a pixel
    painter->setCompositionMode(QPainter::CompositionMode_Source);
    if (changed.isEmpty()) {
        putBack(picture, span);
    } else {
        putBack(picture, {span.first, changed.first - 1});
        putBack(picture, {changed.last + 1, span.last});
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

ColumnSpan PlotCanvas::differences(
    const QImage& a, const QImage& b, const ColumnSpan& span, const ColumnSpan& known) const
{
    if (span.isEmpty()) {
        return {};
    }
    // In device pixels of the picture: from left, and up to right, nothing needs to be looked at.
    const auto pixel = [this](int column) { return (column - area.left()) * ratio; };
    const int begin = pixel(span.first);
    const int end = pixel(span.last + 1);
    int left = known.isEmpty() ? end : pixel(known.first);
    int right = known.isEmpty() ? begin : pixel(known.last + 1);
    for (int y = 0; y < a.height(); ++y) {
        const auto* rowA = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const auto* rowB = reinterpret_cast<const QRgb*>(b.constScanLine(y));
        if (differ(rowA, rowB, begin, left)) {
            left = int(std::mismatch(rowA + begin, rowA + left, rowB + begin).first - rowA);
        }
        if (differ(rowA, rowB, qMax(left, right), end)) {
            for (right = end; rowA[right - 1] == rowB[right - 1];) {
                --right;
            }
        }
    }
    return {area.left() + left / ratio, area.left() + (right + ratio - 1) / ratio - 1};
}
