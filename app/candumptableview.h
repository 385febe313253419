// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBasicTimer>
#include <QTableView>

// The table of captured frames. Frames change it far more often than a screen can show: the first
// change is painted at once, those that follow together, at most every 16 ms. Each picture shows
// the model as it stands at that moment.
class CandumpTableView : public QTableView
{
    Q_OBJECT

public:
    explicit CandumpTableView(QWidget* parent = nullptr);

    void dataChanged(
        const QModelIndex& topLeft, const QModelIndex& bottomRight,
        const QVector<int>& roles = QVector<int>()) override;

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    QBasicTimer repaintPause;
    bool changedInPause = false;
};
