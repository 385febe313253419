// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>
#include <QPointer>
#include <qcustomplot.h>
#include <vector>

// Paints the tags of one axis. A slider that is dragged leaves hundreds of tags, none ever goes,
// and each takes 30 us to paint: left to the plot, a few drags would make a drawing so slow that
// records are lost. The sheet keeps the picture of the tags that stand and adds the new ones to it,
// until the view changes. The picture is the same as if the plot painted each item.
//
// The items stay on their layer, visible and in order, but behind a gate that keeps the plot from
// painting them (their realVisibility() is false).
class TagSheet : public QCPLayerable
{
    Q_OBJECT

public:
    // An item of a tag, such as SheetItem<QCPItemText>.
    class Item
    {
    public:
        virtual ~Item() = default;
        virtual void paint(QCPPainter* painter) = 0;
        // What paint() touches of the plot's viewport, in pixels; or more.
        virtual QRect area() const = 0;
        // As QCPLayerable::selectTest, whether or not the plot paints the item.
        virtual double distance(const QPointF& point, bool onlySelectable) const = 0;
    };

    // The sheet of an axis, made by the first call. It goes with the axis.
    static TagSheet* of(QCPAxis* axis);

    QCPLayerable* itemGate() { return &gate; }

    // Items are painted in the order in which they were added. Gives the number of the item.
    std::size_t add(Item* item);
    void remove(std::size_t number);
    // Call when an item changes: if it was painted already, all are painted again.
    void itemChanged(std::size_t number);

    // A click on a tag does not reach the curve beneath.
    double selectTest(
        const QPointF& point, bool onlySelectable, QVariant* details = nullptr) const override;

protected:
    void applyDefaultAntialiasingHint(QCPPainter* painter) const override;
    void draw(QCPPainter* painter) override;

private:
    // An invisible parent in the sense of the plot.
    class Gate : public QCPLayerable
    {
    public:
        explicit Gate(QCustomPlot* plot);

    protected:
        void applyDefaultAntialiasingHint(QCPPainter* painter) const override;
        void draw(QCPPainter* painter) override;
    };

    // What places the tags.
    struct View
    {
        QSize size;
        double pixelRatio = 0;
        QRect axisRect;
        QCPRange range;
        QCPAxis::ScaleType scale = QCPAxis::stLinear;
        bool reversed = false;

        bool operator==(const View& other) const;
    };

    explicit TagSheet(QCPAxis* parentAxis);

    // Gives the area that was painted on.
    QRect paintItems(std::size_t first, QCPPainter* painter);

    QCPAxis* axis;
    Gate gate;
    std::vector<Item*> items; // null for one that was removed
    std::size_t painted = 0;  // so many items, from the first on, are in the picture
    View view;
    QPixmap picture;
    QRect inked; // of the picture
};

// A plot item that a TagSheet paints.
template <typename PlotItem>
class SheetItem : public PlotItem, public TagSheet::Item
{
public:
    explicit SheetItem(QCPAxis* axis)
        : PlotItem(axis->parentPlot())
        , sheet(TagSheet::of(axis))
        , number(sheet->add(this))
    {
        this->setParentLayerable(sheet->itemGate());
    }

    ~SheetItem() override
    {
        if (sheet) {
            sheet->remove(number);
        }
    }

    void paint(QCPPainter* painter) override
    {
        painter->save();
        painter->setClipRect(this->clipRect().translated(0, -1)); // as the plot's layers do
        this->applyDefaultAntialiasingHint(painter);
        this->draw(painter);
        painter->restore();
    }

    QRect area() const override
    {
        // All ink of a line or a text lies between its anchors, but for pens and line endings.
        constexpr int margin = 12;
        QRectF corners;
        for (const QCPItemAnchor* anchor : this->anchors()) {
            corners |= QRectF(anchor->pixelPosition(), QSizeF(1, 1));
        }
        const QRectF ink = corners.adjusted(-margin, -margin, margin, margin);
        return (ink & QRectF(this->parentPlot()->viewport())).toAlignedRect();
    }

    double distance(const QPointF& point, bool onlySelectable) const override
    {
        return this->selectTest(point, onlySelectable);
    }

    void changed() { sheet->itemChanged(number); }

private:
    QPointer<TagSheet> sheet;
    std::size_t number;
};
