// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QTimer>

class QStatusBar;

// Paints a status bar no more often than a display shows it, however fast its text changes: a
// status bar paints itself at each new text, which costs more than the record that the text tells
// of. The first text after a pause is painted at once, later ones together, the last one within
// FrameMs. currentMessage() is always the latest text. Belongs to the bar and goes with it.
class StatusBarPacer : public QObject
{
    Q_OBJECT

public:
    static constexpr int FrameMs = 16;

    explicit StatusBarPacer(QStatusBar* statusBar);

private:
    void holdPainting();
    void paintLatest();

    QStatusBar* bar;
    QTimer frame;
};
