// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "display/paintpacer.h"

#include <QTableView>

namespace capture {

// The table of captured frames. Frames change it far more often than a screen can show: the first
// change is painted at once, those that follow together, at the pace of the display. Each picture
// shows the model as it stands at that moment. New rows are rare and are laid out as Qt does it,
// once a turn of the event loop.
class CandumpTableView : public QTableView
{
    Q_OBJECT

public:
    explicit CandumpTableView(QWidget* parent = nullptr);

    void dataChanged(
        const QModelIndex& topLeft, const QModelIndex& bottomRight,
        const QVector<int>& roles = QVector<int>()) override;

private:
    display::PaintPacer pacer;
};

} // namespace capture
