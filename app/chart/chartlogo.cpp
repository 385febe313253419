// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/chartlogo.h"

ChartLogo::ChartLogo(QCustomPlot* plot)
    : QCPItemPixmap(plot)
{
    setPixmap(QPixmap(QStringLiteral(":/icon.png")));
    topLeft->setType(QCPItemPosition::ptAxisRectRatio);
    topLeft->setCoords(0.9, 0);
    bottomRight->setType(QCPItemPosition::ptAxisRectRatio);
    bottomRight->setCoords(1.0, 0.1);
    setScaled(true, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

// In whole pixels, or the picture would blur.
QPoint ChartLogo::shift() const
{
    const QPoint corner = topLeft->pixelPosition().toPoint();
    const QPoint extent = bottomRight->pixelPosition().toPoint() - corner;
    const QSize picture = getFinalRect().size();
    return {(extent.x() - picture.width()) / 2, (extent.y() - picture.height()) / 2};
}

double ChartLogo::selectTest(const QPointF& pos, bool onlySelectable, QVariant* details) const
{
    return QCPItemPixmap::selectTest(pos - shift(), onlySelectable, details);
}

void ChartLogo::draw(QCPPainter* painter)
{
    const QPoint moved = shift();
    painter->translate(moved);
    QCPItemPixmap::draw(painter);
    painter->translate(-moved);
}
