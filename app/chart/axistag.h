// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <qcustomplot.h>

#include <QPixmap>
#include <QPointer>

class TagSheet;

// A marker on an axis of a chart: a short arrow that points at a value, and a text beside its tail,
// turned by 90 degrees. It belongs to the axis and goes with it. Change it by these operations
// alone: the plot does not paint the items itself, a sheet paints those in view.
class AxisTag : public QObject
{
    Q_OBJECT

public:
    explicit AxisTag(QCPAxis* parentAxis);
    ~AxisTag() override; // takes the marker off the chart, if the chart is still there

    void setPen(const QPen& pen); // of the arrow and of the frame around the text
    void setBrush(const QBrush& brush);
    void setText(const QString& text);
    QString text() const;

    // value is a coordinate of the axis. The marker keeps its distance in pixels from the axis.
    void updatePosition(double value);

private:
    friend class TagSheet;
    void changed();                                // is painted anew
    QVector<QCPAbstractItem*> itemsInView() const; // null if taken off the chart
    bool isInView() const;
    void paint(QCPPainter* painter);
    void makePicture(QPointF head, double ratio);

    QCPAxis* axis;
    QPointer<QCPItemTracer> tracer; // invisible; anchors the arrow to the axis
    QPointer<QCPItemLine> arrow;
    QPointer<QCPItemText> label;
    QPointer<TagSheet> sheet;
    QPixmap picture; // of arrow and label; null until they are painted
    QPoint corner;   // of the picture, from the arrow's head
    int length = 0;  // of the text, in pixels; 0 if the tag is not whole
};
