// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/statusbarpacer.h"

#include <QStatusBar>
#include <QtTest>

// Remembers what the bar said each time it was painted.
class PaintWatcher : public QObject
{
    Q_OBJECT

public:
    explicit PaintWatcher(QStatusBar* statusBar)
        : bar(statusBar)
    {
        bar->installEventFilter(this);
    }

    bool eventFilter(QObject* /*watched*/, QEvent* event) override
    {
        if (event->type() == QEvent::Paint &&
            static_cast<QPaintEvent*>(event)->region().contains(bar->rect().center())) {
            painted.append(bar->currentMessage());
        }
        return false;
    }

    QStringList painted;

private:
    QStatusBar* bar;
};

class StatusBarPacerTest : public QObject
{
    Q_OBJECT

private slots:
    void paintsAtTheDisplaysPace()
    {
        QStatusBar bar;
        new StatusBarPacer(&bar);
        bar.resize(400, 30);
        bar.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bar));
        PaintWatcher watcher(&bar);

        for (int i = 0; i < 1000; ++i) {
            bar.showMessage(QString::number(i));
            QCOMPARE(bar.currentMessage(), QString::number(i));
        }
        QTRY_VERIFY(watcher.painted.contains("999"));
        QVERIFY(watcher.painted.size() <= 2); // the window itself may have come up late

        // A steady stream does not hold the picture back.
        watcher.painted.clear();
        QElapsedTimer clock;
        clock.start();
        int shown = 0;
        while (watcher.painted.size() < 5 && clock.elapsed() < 5000) {
            bar.showMessage(QString::number(++shown));
            QCoreApplication::processEvents();
        }
        QCOMPARE(watcher.painted.size(), 5);
        QVERIFY(clock.elapsed() > 3 * StatusBarPacer::FrameMs);
        bar.showMessage("last");
        QTRY_COMPARE(watcher.painted.last(), "last");
    }
};

QTEST_MAIN(StatusBarPacerTest)
#include "tst_statusbarpacer.moc"
