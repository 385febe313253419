// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/axistag.h"

namespace {

constexpr double TailDistance = -25.0; // pixels, upwards from the arrow's head

// An item that the plot takes for hidden by its invisible parent, and its tag paints.
template <typename PlotItem>
class TagItem : public PlotItem
{
public:
    explicit TagItem(QCPLayerable* hidden)
        : PlotItem(hidden->parentPlot())
    {
        this->setParentLayerable(hidden);
        this->setLayer(QStringLiteral("overlay"));
        this->setClipToAxisRect(false);
    }

    using PlotItem::draw;
};

using Arrow = TagItem<QCPItemLine>;
using Label = TagItem<QCPItemText>;

void removeFromPlot(QCPAbstractItem* item)
{
    if (item) {
        item->parentPlot()->removeItem(item);
    }
}

} // namespace

// Paints the tags of one axis. A slider that is dragged leaves hundreds, none ever goes, and each
// takes 30 us to paint: left to the plot, a few drags would make a replot so slow that records are
// lost. Those that can be seen are painted from pictures.
class TagSheet : public QCPLayerable
{
public:
    // The sheet of an axis, made by the first call. It goes with the axis.
    static TagSheet* of(QCPAxis* axis)
    {
        const auto name = QStringLiteral("tagSheet");
        auto* sheet = axis->findChild<QCPLayerable*>(name, Qt::FindDirectChildrenOnly);
        if (!sheet) {
            sheet = new TagSheet(axis->parentPlot(), QStringLiteral("overlay"));
            sheet->setParent(axis);
            sheet->setObjectName(name);
        }
        return static_cast<TagSheet*>(sheet);
    }

    // A click on a tag does not reach the curve beneath.
    double selectTest(
        const QPointF& point, bool onlySelectable, QVariant* /*details*/) const override
    {
        double least = -1; // not hit
        for (const AxisTag* tag : tags) {
            for (const QCPAbstractItem* item : tag->itemsInView()) {
                const double distance = item ? item->selectTest(point, onlySelectable) : -1;
                least = distance >= 0 && (least < 0 || distance < least) ? distance : least;
            }
        }
        return least;
    }

    QList<AxisTag*> tags; // in the order of painting

protected:
    using QCPLayerable::QCPLayerable;

    void applyDefaultAntialiasingHint(QCPPainter* painter) const override
    {
        painter->setAntialiasing(false); // which shifts by half a pixel: pictures would blur
    }

    void draw(QCPPainter* painter) override
    {
        // All look as if painted, the newest last. One is hidden by a newer one in the same place
        // whose text is not shorter.
        QHash<int, int> longest; // text, by pixel
        QVector<AxisTag*> seen;
        for (auto tag = tags.crbegin(); tag != tags.crend(); ++tag) {
            if (!(*tag)->isInView()) {
                (*tag)->picture = QPixmap();
                continue;
            }
            int& length = longest[qRound((*tag)->tracer->position->pixelPosition().x())];
            if ((*tag)->length > length || length == 0) {
                length = (*tag)->length;
                seen.append(*tag);
            }
        }
        std::for_each(seen.rbegin(), seen.rend(), [&](AxisTag* tag) { tag->paint(painter); });
    }
};

AxisTag::AxisTag(QCPAxis* parentAxis)
    : QObject(parentAxis)
    , axis(parentAxis)
    , tracer(new QCPItemTracer(parentAxis->parentPlot()))
    , arrow(new Arrow(tracer))
    , label(new Label(tracer))
    , sheet(TagSheet::of(parentAxis))
{
    tracer->setVisible(false);
    tracer->position->setTypeY(QCPItemPosition::ptAxisRectRatio);
    tracer->position->setTypeX(QCPItemPosition::ptPlotCoords);
    tracer->position->setAxisRect(axis->axisRect());
    tracer->position->setAxes(axis, nullptr);
    tracer->position->setCoords(0, 1);

    arrow->setHead(QCPLineEnding(QCPLineEnding::esSpikeArrow, 8, 10, false));
    arrow->end->setParentAnchor(tracer->position, false);
    arrow->start->setParentAnchor(arrow->end, false);
    arrow->start->setCoords(0, TailDistance);

    label->setRotation(-90);
    label->setPadding(QMargins(0, 0, 0, 0));
    label->setBrush(QBrush(Qt::white));
    label->setPen(QPen(Qt::blue));
    label->setPositionAlignment(Qt::AlignHCenter | Qt::AlignVCenter | Qt::AlignBottom);
    label->position->setParentAnchor(arrow->start, false);
    sheet->tags.append(this);
    changed();
    // An item may be taken off the plot while the tag lives.
    connect(arrow, &QObject::destroyed, this, &AxisTag::changed);
    connect(label, &QObject::destroyed, this, &AxisTag::changed);
}

AxisTag::~AxisTag()
{
    removeFromPlot(tracer);
    removeFromPlot(arrow);
    removeFromPlot(label);
    if (sheet) {
        sheet->tags.removeOne(this);
    }
}

void AxisTag::setPen(const QPen& pen)
{
    if (arrow) {
        arrow->setPen(pen);
    }
    if (label) {
        label->setPen(pen);
    }
    changed();
}

void AxisTag::setBrush(const QBrush& brush)
{
    if (label) {
        label->setBrush(brush);
    }
    changed();
}

void AxisTag::setText(const QString& text)
{
    if (label) {
        label->setText(text);
    }
    changed();
}

QString AxisTag::text() const
{
    return label ? label->text() : QString();
}

void AxisTag::updatePosition(double value)
{
    if (tracer) {
        tracer->position->setCoords(value, 1);
    }
    if (arrow) {
        arrow->end->setCoords(0, axis->offset());
    }
    changed();
}

void AxisTag::changed()
{
    picture = QPixmap();
    length = arrow && label ? QFontMetrics(label->font()).horizontalAdvance(label->text()) : 0;
}

bool AxisTag::isInView() const
{
    constexpr double reach = 40;                        // of a tag to either side, and more
    const QRectF view = axis->parentPlot()->viewport(); // tags are not clipped to the axis rect
    return tracer && view.adjusted(-reach, 0, reach, 0).contains(tracer->position->pixelPosition());
}

QVector<QCPAbstractItem*> AxisTag::itemsInView() const
{
    return isInView() ? QVector<QCPAbstractItem*>{arrow, label} : QVector<QCPAbstractItem*>();
}

void AxisTag::paint(QCPPainter* painter)
{
    const QPointF head = tracer->position->pixelPosition();
    const double ratio = painter->device()->devicePixelRatioF();
    if (picture.isNull() || picture.devicePixelRatioF() != ratio) {
        makePicture(head, ratio);
    }
    painter->drawPixmap(qRound(head.x()) + corner.x(), qRound(head.y()) + corner.y(), picture);
    if (!axis->parentPlot()->viewport().contains(head.toPoint())) {
        picture = QPixmap(); // the items leave out what is beyond the edge
    }
}

void AxisTag::makePicture(QPointF head, double ratio)
{
    constexpr int margin = 10; // of an arrow's head around its line, and more
    QPolygonF corners;
    corners << head;
    if (arrow) {
        corners << arrow->end->pixelPosition() << arrow->start->pixelPosition();
    }
    if (label) {
        for (const QCPItemAnchor* anchor :
             {label->topLeft, label->topRight, label->bottomLeft, label->bottomRight}) {
            corners << anchor->pixelPosition();
        }
    }
    const QRect box = corners.translated(-head).boundingRect().toAlignedRect() +
                      QMargins(margin, margin, margin, margin);
    corner = box.topLeft();
    picture = QPixmap(box.size() * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QCPPainter painter(&picture);
    painter.translate(-head - box.topLeft());
    painter.setAntialiasing(true);
    if (arrow) {
        static_cast<Arrow*>(arrow.data())->draw(&painter);
    }
    if (label) {
        static_cast<Label*>(label.data())->draw(&painter);
    }
}
