// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStyledItemDelegate>

namespace workbench {

// Shows no more of a cell's text than fits on a screen. To lay out the megabytes that a paste may
// leave in a cell takes seconds, at every painting.
class CellDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        constexpr int mostShown = 1000; // characters
        return QStyledItemDelegate::displayText(value, locale).left(mostShown);
    }
};

} // namespace workbench
