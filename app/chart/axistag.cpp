// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/axistag.h"

#include <QHash>
#include <QPixmap>
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
// lost. The sheet paints those in view, and keeps the picture until the view changes.
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

    void put(const AxisTag* tag) // anew or changed
    {
        const auto known = numbers.constFind(tag);
        const std::size_t number = known == numbers.cend() ? places.size() : *known;
        if (known == numbers.cend()) {
            numbers.insert(tag, number);
            places.emplace_back();
        }
        Place& place = places[number];
        place.tag = tag;
        place.key = tag->tracer ? tag->tracer->position->key() : qQNaN();
        const auto* label = tag->arrow ? tag->label.data() : nullptr;
        place.length = label ? QFontMetrics(label->font()).horizontalAdvance(label->text()) : 0;
        painted = number < painted ? 0 : painted;
    }

    void remove(const AxisTag* tag)
    {
        places[numbers.take(tag)] = Place();
        painted = 0;
    }

    // A click on a tag does not reach the curve beneath.
    double selectTest(
        const QPointF& point, bool onlySelectable, QVariant* /*details*/) const override
    {
        double least = -1; // not hit
        for (const Place& place : places) {
            if (!isInView(place)) {
                continue;
            }
            for (const QCPAbstractItem* item :
                 {static_cast<QCPAbstractItem*>(place.tag->arrow.data()),
                  static_cast<QCPAbstractItem*>(place.tag->label.data())}) {
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

    void draw(QCPPainter* painter) override
    {
        if (painter->modes() & (QCPPainter::pmVectorized | QCPPainter::pmNoCaching)) {
            paint(0, painter);
            return;
        }
        const double ratio = painter->device()->devicePixelRatioF();
        const QSize size = mParentPlot->viewport().size() * ratio;
        const auto now = std::make_tuple(
            axis->axisRect()->rect(), axis->range().lower, axis->range().upper, axis->scaleType(),
            axis->rangeReversed());
        if (painted == 0 || view != now || size != picture.size() ||
            ratio != picture.devicePixelRatioF()) {
            view = now;
            painted = 0;
            picture = QPixmap(size);
            picture.setDevicePixelRatio(ratio);
            picture.fill(Qt::transparent);
        }
        if (painted < places.size()) {
            QCPPainter onPicture(&picture);
            onPicture.setModes(painter->modes());
            paint(painted, &onPicture);
            painted = places.size();
        }
        if (painted > 0) {
            painter->drawPixmap(0, 0, picture);
        }
    }

private:
    struct Place
    {
        const AxisTag* tag = nullptr; // null for one that was removed
        double key = qQNaN();
        int length = 0; // of the text, in pixels; 0 if the tag is not whole
    };

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

    bool isInView(const Place& place) const
    {
        constexpr double reach = 40; // of a tag to either side, and more
        const double pixel = axis->coordToPixel(place.key);
        return place.tag &&
               (axis->orientation() == Qt::Vertical || (pixel > axis->axisRect()->left() - reach &&
                                                        pixel < axis->axisRect()->right() + reach));
    }

    // From a number on, without those that a later one hides: it stands in the same place and its
    // text is not shorter.
    void paint(std::size_t first, QCPPainter* painter)
    {
        std::vector<const AxisTag*> seen;
        QHash<int, int> longest; // by pixel
        for (std::size_t number = places.size(); number-- > first;) {
            const Place& place = places[number];
            if (isInView(place)) {
                int& length = longest[qRound(axis->coordToPixel(place.key))];
                if (place.length > length || length == 0) {
                    length = place.length;
                    seen.push_back(place.tag);
                }
            }
        }
        for (auto tag = seen.rbegin(); tag != seen.rend(); ++tag) {
            if ((*tag)->arrow) {
                static_cast<Arrow*>((*tag)->arrow.data())->paint(painter);
            }
            if ((*tag)->label) {
                static_cast<Label*>((*tag)->label.data())->paint(painter);
            }
        }
    }

    QCPAxis* axis;
    Hidden hidden;
    std::vector<Place> places; // in the order of painting
    QHash<const AxisTag*, std::size_t> numbers;
    std::size_t painted = 0; // so many, from the first on, are in the picture
    QPixmap picture;
    std::tuple<QRect, double, double, QCPAxis::ScaleType, bool> view; // of the picture
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

void AxisTag::changed()
{
    if (sheet) {
        static_cast<TagSheet*>(sheet.data())->put(this);
    }
}
