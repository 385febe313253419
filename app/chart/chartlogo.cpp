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

void ChartLogo::draw(QCPPainter* painter)
{
    const QPoint corner = topLeft->pixelPosition().toPoint();
    const QPoint extent = bottomRight->pixelPosition().toPoint() - corner;
    const QSize picture = getFinalRect().size();
    // Whole pixels, or the picture would blur.
    const QPoint shift((extent.x() - picture.width()) / 2, (extent.y() - picture.height()) / 2);
    painter->translate(shift);
    QCPItemPixmap::draw(painter);
    painter->translate(-shift);
}
