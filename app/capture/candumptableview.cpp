// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumptableview.h"

#include <QPainter>
#include <QStyledItemDelegate>

namespace capture {

namespace {

// Paints a cell's text in its colour and nothing else, where the stock delegate puts it. The cells
// can be neither selected nor edited and have no icon or background, so that nothing more is to be
// seen, and the text alone costs a fraction.
class TextDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index)
        const override
    {
        const QString text = index.data(Qt::DisplayRole).toString();
        if (text.isEmpty()) {
            return;
        }
        const int frame = option.widget->style()->pixelMetric(
            QStyle::PM_FocusFrameHMargin, &option, option.widget);
        // Half a pixel in the middle of a row is up to the version of Qt: the odd one goes below.
        const int odd = (option.rect.height() - option.fontMetrics.height()) & 1;
        const QRect place = option.rect.adjusted(frame + 1, 0, -frame - 1, -odd);
        if (option.fontMetrics.horizontalAdvance(text) > place.width()) {
            QStyledItemDelegate::paint(painter, option, index); // knows how to wrap and to cut
            return;
        }
        painter->setFont(option.font);
        painter->setPen(index.data(Qt::ForegroundRole).value<QColor>());
        painter->drawText(place, index.data(Qt::TextAlignmentRole).toInt(), text);
    }
};

} // namespace

CandumpTableView::CandumpTableView(QWidget* parent)
    : QTableView(parent)
    , pacer([this] { QTableView::dataChanged(QModelIndex(), QModelIndex()); }, nullptr)
{
    setItemDelegate(new TextDelegate(this));
    // The model's colours, black and reds, need a light ground, on a dark desktop as well. Of the
    // viewport alone: some styles give the headers the ground of the view.
    QPalette light;
    light.setColor(QPalette::Base, Qt::white);
    viewport()->setPalette(light);
}

void CandumpTableView::dataChanged(const QModelIndex&, const QModelIndex&, const QVector<int>&)
{
    pacer.request();
}

} // namespace capture
