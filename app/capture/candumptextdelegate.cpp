// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumptextdelegate.h"

#include <QPainter>
#include <QStyle>
#include <QWidget>

namespace capture {

void CandumpTextDelegate::paint(
    QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    if (text.isEmpty()) {
        return;
    }
    const int margin =
        option.widget->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &option, option.widget) +
        1;
    const QRect place = option.rect.adjusted(margin, 0, -margin, 0);
    if (option.fontMetrics.horizontalAdvance(text) > place.width()) {
        QStyledItemDelegate::paint(painter, option, index); // knows how to wrap and to cut
        return;
    }
    painter->setFont(option.font);
    painter->setPen(index.data(Qt::ForegroundRole).value<QColor>());
    painter->drawText(place, index.data(Qt::TextAlignmentRole).toInt(), text);
}

} // namespace capture
