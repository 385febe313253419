// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/axistag.h"

#include <QHash>
#include <vector>

namespace {

constexpr double TailDistance = -25.0; // pixels, upwards from the arrow's head

// An item that the plot takes for hidden by its invisible parent, and the sheet paints.
template <typename PlotItem>
class TagItem : public PlotItem
{
public:
    TagItem(QCustomPlot* plot, QCPLayerable* hidden)
        : PlotItem(plot)
    {
        this->setParentLayerable(hidden);
        this->setLayer(QStringLiteral("overlay"));
        this->setClipToAxisRect(false);
    }

    void paint(QCPPainter* painter)
    {
        painter->save();
        this->applyDefaultAntialiasingHint(painter);
        this->draw(painter);
        painter->restore();
    }
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
// takes 30 us to paint: left to the plot, a few drags would make a drawing so slow that records are
// lost. The sheet keeps pictures of the tags in view.
class TagSheet : public QCPLayerable
{
public:
    // The sheet of an axis, made by the first call. It goes with the axis.
    static TagSheet& of(QCPAxis* axis)
    {
        auto* sheet =
            axis->findChild<QCPLayerable*>(QStringLiteral("tagSheet"), Qt::FindDirectChildrenOnly);
        return sheet ? static_cast<TagSheet&>(*sheet) : *new TagSheet(axis);
    }

    QCPLayerable* hiddenParent() { return &hidden; }
    void add(AxisTag* tag) { tags.append(tag); }
    void remove(AxisTag* tag) { tags.removeOne(tag); }

    // A click on a tag does not reach the curve beneath.
    double selectTest(
        const QPointF& point, bool onlySelectable, QVariant* /*details*/) const override
    {
        double least = -1; // not hit
        for (const AxisTag* tag : tags) {
            if (!isInView(*tag)) {
                continue;
            }
            for (const QCPAbstractItem* item :
                 {static_cast<QCPAbstractItem*>(tag->arrow.data()),
                  static_cast<QCPAbstractItem*>(tag->label.data())}) {
                const double distance = item ? item->selectTest(point, onlySelectable) : -1;
                least = distance >= 0 && (least < 0 || distance < least) ? distance : least;
            }
        }
        return least;
    }

protected:
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override
    {
        // An antialiasing painter of the plot is shifted by half a pixel, which would blur a
        // picture.
        painter->setAntialiasing(false);
    }

    // Leaves out what a later tag hides: one in the same place whose text is not shorter.
    void draw(QCPPainter* painter) override
    {
        std::vector<AxisTag*> seen;
        QHash<int, int> longest; // by pixel
        for (auto tag = tags.crbegin(); tag != tags.crend(); ++tag) {
            if (!isInView(**tag)) {
                (*tag)->picture = QPixmap();
                continue;
            }
            int& length = longest[qRound(axis->coordToPixel((*tag)->tracer->position->key()))];
            if ((*tag)->length > length || length == 0) {
                length = (*tag)->length;
                seen.push_back(*tag);
            }
        }
        std::for_each(seen.rbegin(), seen.rend(), [&](AxisTag* tag) { paint(*tag, painter); });
    }

private:
    class Hidden : public QCPLayerable
    {
    public:
        explicit Hidden(QCustomPlot* plot)
            : QCPLayerable(plot)
        {
            setVisible(false);
        }

    protected:
        void applyDefaultAntialiasingHint(QCPPainter* /*painter*/) const override {}
        void draw(QCPPainter* /*painter*/) override {}
    };

    explicit TagSheet(QCPAxis* parentAxis)
        : QCPLayerable(parentAxis->parentPlot(), QStringLiteral("overlay"))
        , axis(parentAxis)
        , hidden(parentAxis->parentPlot())
    {
        setParent(axis);
        setObjectName(QStringLiteral("tagSheet"));
    }

    bool isInView(const AxisTag& tag) const
    {
        if (!tag.tracer) {
            return false;
        }
        constexpr double reach = 40; // of a tag to either side, and more
        const double pixel = axis->coordToPixel(tag.tracer->position->key());
        return axis->orientation() == Qt::Vertical || (pixel > axis->axisRect()->left() - reach &&
                                                       pixel < axis->axisRect()->right() + reach);
    }

    static void paintItems(const AxisTag& tag, QCPPainter* painter)
    {
        if (tag.arrow) {
            static_cast<Arrow*>(tag.arrow.data())->paint(painter);
        }
        if (tag.label) {
            static_cast<Label*>(tag.label.data())->paint(painter);
        }
    }

    static void paint(AxisTag& tag, QCPPainter* painter)
    {
        if (painter->modes() & (QCPPainter::pmVectorized | QCPPainter::pmNoCaching)) {
            paintItems(tag, painter);
            return;
        }
        const double ratio = painter->device()->devicePixelRatioF();
        if (tag.picture.isNull() || tag.picture.devicePixelRatioF() != ratio) {
            makePicture(tag, ratio, painter->modes());
        }
        painter->drawPixmap(headOf(tag) + tag.corner, tag.picture);
    }

    // On whole pixels.
    static QPoint headOf(const AxisTag& tag)
    {
        const QPointF head = tag.tracer->position->pixelPosition();
        return {qRound(head.x()), qRound(head.y())};
    }

    static void makePicture(AxisTag& tag, double ratio, QCPPainter::PainterModes modes)
    {
        constexpr int margin = 10; // of an arrow's head around its line, and more
        const QPointF head = tag.tracer->position->pixelPosition();
        QPolygonF corners;
        corners << head << head + QPointF(0, TailDistance);
        if (tag.label) {
            corners << tag.label->topLeft->pixelPosition() << tag.label->bottomLeft->pixelPosition()
                    << tag.label->topRight->pixelPosition()
                    << tag.label->bottomRight->pixelPosition();
        }
        const QRect box = corners.translated(-head).boundingRect().toAlignedRect() +
                          QMargins(margin, margin, margin, margin);
        tag.corner = box.topLeft();
        tag.picture = QPixmap(box.size() * ratio);
        tag.picture.setDevicePixelRatio(ratio);
        tag.picture.fill(Qt::transparent);
        QCPPainter painter(&tag.picture);
        painter.setModes(modes);
        painter.translate(-head - box.topLeft());
        paintItems(tag, &painter);
    }

    QCPAxis* axis;
    Hidden hidden;
    QList<AxisTag*> tags; // in the order of painting
};

AxisTag::AxisTag(QCPAxis* parentAxis)
    : QObject(parentAxis)
    , axis(parentAxis)
    , tracer(new QCPItemTracer(parentAxis->parentPlot()))
    , arrow(new Arrow(parentAxis->parentPlot(), TagSheet::of(parentAxis).hiddenParent()))
    , label(new Label(parentAxis->parentPlot(), TagSheet::of(parentAxis).hiddenParent()))
    , sheet(&TagSheet::of(parentAxis))
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
    TagSheet::of(axis).add(this);
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
        static_cast<TagSheet*>(sheet.data())->remove(this);
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

// The sheet paints the tag anew.
void AxisTag::changed()
{
    picture = QPixmap();
    length = arrow && label ? QFontMetrics(label->font()).horizontalAdvance(label->text()) : 0;
}
