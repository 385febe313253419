// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/axistag.h"

#include "chart/tagsheet.h"

namespace {

using Arrow = SheetItem<QCPItemLine>;
using Label = SheetItem<QCPItemText>;

constexpr double TailDistance = -25.0; // pixels, upwards from the arrow's head

void removeFromPlot(QCPAbstractItem* item)
{
    if (item) {
        item->parentPlot()->removeItem(item);
    }
}

} // namespace

AxisTag::AxisTag(QCPAxis* parentAxis)
    : QObject(parentAxis)
    , axis(parentAxis)
    , tracer(new QCPItemTracer(parentAxis->parentPlot()))
    , arrow(new Arrow(parentAxis))
    , label(new Label(parentAxis))
{
    tracer->setVisible(false);
    tracer->position->setTypeY(QCPItemPosition::ptAxisRectRatio);
    tracer->position->setTypeX(QCPItemPosition::ptPlotCoords);
    tracer->position->setAxisRect(axis->axisRect());
    tracer->position->setAxes(axis, nullptr);
    tracer->position->setCoords(0, 1);

    arrow->setLayer(QStringLiteral("overlay"));
    arrow->setClipToAxisRect(false);
    arrow->setHead(QCPLineEnding(QCPLineEnding::esSpikeArrow, 8, 10, false));
    arrow->end->setParentAnchor(tracer->position, false);
    arrow->start->setParentAnchor(arrow->end, false);
    arrow->start->setCoords(0, TailDistance);

    label->setLayer(QStringLiteral("overlay"));
    label->setRotation(-90);
    label->setClipToAxisRect(false);
    label->setPadding(QMargins(0, 0, 0, 0));
    label->setBrush(QBrush(Qt::white));
    label->setPen(QPen(Qt::blue));
    label->setPositionAlignment(Qt::AlignHCenter | Qt::AlignVCenter | Qt::AlignBottom);
    label->position->setParentAnchor(arrow->start, false);
}

AxisTag::~AxisTag()
{
    removeFromPlot(tracer);
    removeFromPlot(arrow);
    removeFromPlot(label);
}

void AxisTag::setPen(const QPen& pen)
{
    arrow->setPen(pen);
    label->setPen(pen);
    repaint();
}

void AxisTag::setBrush(const QBrush& brush)
{
    label->setBrush(brush);
    repaint();
}

void AxisTag::setText(const QString& text)
{
    label->setText(text);
    repaint();
}

QString AxisTag::text() const
{
    return label->text();
}

void AxisTag::updatePosition(double value)
{
    tracer->position->setCoords(value, 1);
    arrow->end->setCoords(0, axis->offset());
    repaint();
}

void AxisTag::repaint()
{
    static_cast<Arrow*>(arrow.data())->changed(); // the label is always painted with it
}
