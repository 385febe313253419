// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTimer>

class QStatusBar;

// Paints a status bar no more often than a display shows it, however fast its text changes: left to
// itself it is painted in every pass of the event loop, which costs more than the few records that
// such a pass brings. Each painting begins a pause of a display's frame; texts that come in it are
// painted together at its end. currentMessage() is always the latest text. Belongs to the bar and
// goes with it.
class StatusBarPacer : public QObject
{
    Q_OBJECT

public:
    explicit StatusBarPacer(QStatusBar* statusBar);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QTimer pause;
};
