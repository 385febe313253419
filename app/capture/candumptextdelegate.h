// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

namespace capture {

// Paints a cell's text in its colour and nothing else, where the stock delegate puts it. The cells
// of the candump table can be neither selected nor edited and have no icon or background, so that
// nothing more is to be seen, and the text alone costs a fraction.
class CandumpTextDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index)
        const override;
};

} // namespace capture
