// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/tagsheet.h"

TagSheet::Gate::Gate(QCustomPlot* plot)
    : QCPLayerable(plot)
{
    setVisible(false);
}

void TagSheet::Gate::applyDefaultAntialiasingHint(QCPPainter* /*painter*/) const {}

void TagSheet::Gate::draw(QCPPainter* /*painter*/) {}

bool TagSheet::View::operator==(const View& other) const
{
    return size == other.size && pixelRatio == other.pixelRatio && axisRect == other.axisRect &&
           range == other.range && scale == other.scale && reversed == other.reversed;
}

TagSheet* TagSheet::of(QCPAxis* axis)
{
    auto* sheet = axis->findChild<TagSheet*>(QString(), Qt::FindDirectChildrenOnly);
    return sheet ? sheet : new TagSheet(axis);
}

TagSheet::TagSheet(QCPAxis* parentAxis)
    : QCPLayerable(parentAxis->parentPlot(), QStringLiteral("overlay"))
    , axis(parentAxis)
    , gate(parentAxis->parentPlot())
{
    setParent(axis);
}

std::size_t TagSheet::add(Item* item)
{
    items.push_back(item);
    return items.size() - 1;
}

void TagSheet::remove(std::size_t number)
{
    itemChanged(number);
    items[number] = nullptr;
}

void TagSheet::itemChanged(std::size_t number)
{
    if (number < painted) {
        painted = 0;
    }
}

double TagSheet::selectTest(const QPointF& point, bool onlySelectable, QVariant* /*details*/) const
{
    double least = -1; // not hit
    for (const Item* item : items) {
        const double distance = item ? item->distance(point, onlySelectable) : -1;
        if (distance >= 0 && (least < 0 || distance < least)) {
            least = distance;
        }
    }
    return least;
}

void TagSheet::applyDefaultAntialiasingHint(QCPPainter* painter) const
{
    // An antialiasing painter of the plot is shifted by half a pixel, which would blur the picture.
    painter->setAntialiasing(false);
}

void TagSheet::draw(QCPPainter* painter)
{
    if (painter->modes() & (QCPPainter::pmVectorized | QCPPainter::pmNoCaching)) {
        paintItems(0, painter);
        return;
    }
    const View now = {
        mParentPlot->viewport().size(),
        painter->device()->devicePixelRatioF(),
        axis->axisRect()->rect(),
        axis->range(),
        axis->scaleType(),
        axis->rangeReversed()};
    if (painted == 0 || !(now == view)) {
        view = now;
        painted = 0;
        picture = QPixmap(now.size * now.pixelRatio);
        picture.setDevicePixelRatio(now.pixelRatio);
        picture.fill(Qt::transparent);
        inked = QRect();
    }
    if (painted < items.size()) {
        QCPPainter onPicture(&picture);
        onPicture.setModes(painter->modes());
        inked |= paintItems(painted, &onPicture);
        painted = items.size();
    }
    painter->save();
    painter->setClipRect(inked, Qt::IntersectClip); // most of the picture is empty
    painter->drawPixmap(0, 0, picture);
    painter->restore();
}

QRect TagSheet::paintItems(std::size_t first, QCPPainter* painter)
{
    QRect area;
    for (std::size_t number = first; number < items.size(); ++number) {
        if (items[number]) {
            items[number]->paint(painter);
            area |= items[number]->area();
        }
    }
    return area;
}
