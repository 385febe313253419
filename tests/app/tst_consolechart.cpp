// SPDX-License-Identifier: GPL-3.0-or-later
#include "chart/axistag.h"
#include "chart/chartlogo.h"
#include "support/consolerig.h"
#include "support/pictures.h"

class ConsoleChartTest : public QObject
{
    Q_OBJECT

private:
    static QStringList tagTexts(QCustomPlot* plot)
    {
        QStringList texts;
        for (int i = 0; i < plot->itemCount(); ++i) {
            if (const auto* label = qobject_cast<QCPItemText*>(plot->item(i))) {
                texts.append(label->text());
            }
        }
        return texts;
    }

private slots:
    void deselectAllHidesTheChannelsAlone()
    {
        ConsoleHome home;
        ConsoleRig console;
        // Channels that show; -1 for one whose box, curve and setting do not agree.
        const auto shown = [&] {
            QVector<int> channels;
            for (int channel = 0; channel < 128; ++channel) {
                const bool isVisible = console.plot()->graph(channel)->visible();
                const QVariant key = home.stored(QString("ui/channels/%1/selected").arg(channel));
                if (console.channelBox(channel)->isChecked() != isVisible || key != isVisible) {
                    channels << -1;
                } else if (isVisible) {
                    channels << channel;
                }
            }
            return channels;
        };
        console.click("addCanTrace");
        const QCPGraph* canSignal = console.plot()->graph(128);
        console.channelBox(7)->click(); // rewrites the whole strip
        QCOMPARE(shown().size(), 127);
        QSignalSpy drawn(console.plot(), &QCustomPlot::afterReplot);
        console.click("mapTuner");
        QVERIFY(drawn.count() <= 1); // the chart's workers may ask for another one later
        QCOMPARE(shown(), QVector<int>());
        QVERIFY(canSignal->visible());
        console.channelBox(9)->click(); // the strip works again
        QCOMPARE(shown(), QVector<int>{9});
    }

    // x is a single-precision quotient, and the difference wraps like the controller's clock.
    void recordsBecomePoints()
    {
        ConsoleHome home;
        ConsoleRig console;
        console.click("addCanTrace"); // surplus values land on the CAN signal
        console.window.loggerDataReceived(1, 4000000000U, {7, -8});
        console.window.loggerStarted(); // a new session counts on from the very first record
        console.window.loggerDataReceived(2, 4000000000U + 16777217U, {9});
        console.window.loggerDataReceived(3, 3999999000U, std::vector<int>(200, 3));
        console.window.loggerDataReceived(4, 5, {});
        QCOMPARE(console.points(0), "(0,7)(16777.2167969,9)(4294966.5,3)");
        QCOMPARE(console.points(1), "(0,-8)(4294966.5,3)");
        QCOMPARE(console.points(128), "(4294966.5,3)");
        QCOMPARE(console.status(), "Received logger data 5");
    }

    void tagsStandAtTheLatestRecord()
    {
        ConsoleHome home;
        ConsoleRig console;
        console.window.addTag("before");
        console.window.loggerDataReceived(1, 1000, {});
        console.window.loggerDataReceived(2, 2500, {});
        console.window.addTag("first of two");
        console.window.addTag("second of two");
        console.window.loggerDataReceived(3, 400, {}); // the controller was reset
        console.window.addTag("back in time");
        QList<double> places;
        for (int i = 1; i < console.plot()->itemCount(); i += 3) { // behind the logo
            places.append(qobject_cast<QCPItemTracer*>(console.plot()->item(i))->position->key());
        }
        QCOMPARE(places, QList<double>({0, 1.5, 1.5, -0.6}));
    }

    void keysMakeTags()
    {
        ConsoleHome home;
        const std::tuple<int, QString, QStringList> rows[] = {
            // key, text of its event, tags
            {Qt::Key_S, "s", {"Engine stall"}},
            {Qt::Key_S, "S", {"Engine stall"}},
            {Qt::Key_F4, "", {"Very Hard"}},
            {Qt::Key_Down, "", {"Low"}},
            {Qt::Key_0, "0", {"0"}},
            {Qt::Key_2, QChar(0), {"2"}}, // Ctrl+2
            {Qt::Key_Q, "q", {}},
            {Qt::Key_Colon, ":", {}},
        };
        for (const auto& [key, text, tags] : rows) {
            ConsoleRig console;
            for (const bool repeats : {false, true}) { // a key that is held down
                QKeyEvent event(QEvent::KeyPress, key, Qt::ControlModifier, text, repeats);
                QApplication::sendEvent(&console.window, &event);
                QVERIFY(event.isAccepted());
            }
            QCOMPARE(tagTexts(console.plot()), tags + tags);
        }
    }

    void axisTagHangsOnItsAxis()
    {
        QCustomPlot plot;
        auto* tag = new AxisTag(plot.xAxis);
        tag->updatePosition(2);
        plot.replot();
        const auto* arrow = qobject_cast<QCPItemLine*>(plot.item(1));
        const auto* label = qobject_cast<QCPItemText*>(plot.item(2));
        const QPointF head(plot.xAxis->coordToPixel(2), plot.axisRect()->bottom() + 1);
        QCOMPARE(arrow->end->pixelPosition(), head);
        QCOMPARE(arrow->start->pixelPosition(), head - QPointF(0, 25));
        QCOMPARE(label->position->pixelPosition(), arrow->start->pixelPosition());
        QCOMPARE(int(label->positionAlignment()), Qt::AlignCenter | Qt::AlignBottom);
        tag->setPen(QPen(Qt::red));
        QCOMPARE(arrow->pen(), label->pen());
        delete tag; // takes its items along; another goes down with the plot
        QCOMPARE(plot.itemCount(), 0);
        new AxisTag(plot.xAxis);
    }

    void clickOnTagDoesNotSelectTheCurveBeneath()
    {
        QCustomPlot plot;
        plot.resize(300, 200);
        plot.setInteractions(QCP::iSelectPlottables);
        plot.addGraph()->setData({0, 5}, {2.5, 2.5});
        AxisTag tag(plot.xAxis);
        tag.setText(QStringLiteral("a tag as long as the chart is high"));
        tag.updatePosition(2.5);
        plot.show();
        plot.replot();
        for (const double key : {1.0, 2.5}) {
            const QPointF point(plot.xAxis->coordToPixel(key), plot.yAxis->coordToPixel(2.5));
            QTest::mouseClick(&plot, Qt::LeftButton, Qt::NoModifier, point.toPoint());
            QCOMPARE(plot.graph(0)->selected(), key == 1.0);
        }
    }

    void theLogoTakesClicksWhereItIsPainted()
    {
        QCustomPlot plot;
        plot.resize(900, 300); // room to both sides of the picture
        const auto* logo = new ChartLogo(&plot);
        plot.show();
        plot.replot();
        const QPointF corner = logo->topLeft->pixelPosition();
        const QPointF extent = logo->bottomRight->pixelPosition() - corner;
        for (const auto& [share, hit] : {std::pair(0.1, false), {0.5, true}, {0.9, false}}) {
            const QPointF place = corner + QPointF(share * extent.x(), extent.y() / 2);
            QCOMPARE(plot.itemAt(place) == logo, hit);
        }
    }

    // Standing tags are painted once. What comes, goes, changes or moves must show all the same.
    void tagsLookAsThePlotPaintsThem()
    {
        std::array<QCustomPlot, 2> plots;
        std::for_each(plots.begin(), plots.end(), [](auto& plot) { plot.resize(450, 200); });
        std::array<QList<AxisTag*>, 2> tags;
        for (int step = 0; step < 30; ++step) {
            std::array<QImage, 2> pictures;
            for (int i = 0; i < 2; ++i) {
                QCustomPlot& plot = plots[i];
                tags[i].append(new AxisTag(plot.xAxis));
                tags[i].last()->setText(QString("VI%1=%2").arg(step % 12).arg(step * 7));
                tags[i].last()->updatePosition(step / 2 * 0.3);
                if (i == 0) { // here the plot paints each item
                    auto* anchor = qobject_cast<QCPItemTracer*>(plot.item(plot.itemCount() - 3));
                    anchor->setStyle(QCPItemTracer::tsNone);
                    anchor->setVisible(true);
                    plot.xAxis->findChild<QCPLayerable*>("tagSheet")->setVisible(false);
                }
                if (step == 8) {
                    tags[i][2]->setText("changed");
                    tags[i][3]->updatePosition(2.9);
                } else if (step == 12) { // far left of the axis rect
                    plot.axisRect()->setMinimumMargins(QMargins(150, 0, 0, 0));
                    plot.xAxis->setRange(2, 5);
                } else if (step == 16) {
                    plot.xAxis->setRange(-1, 4);
                } else if (step == 20) {
                    plot.removeItem(plot.item(4)); // an arrow
                    tags[i][1]->setText("without an arrow");
                    tags[i][1]->setBrush(Qt::yellow);
                } else if (step == 24) {
                    plot.resize(500, 300);
                    delete tags[i].takeAt(1);
                } else if (step == 27) {
                    plot.xAxis->setOffset(30); // where its arrow points
                    tags[i].last()->setText("");
                    tags[i].last()->updatePosition(3.5);
                }
                plot.replot();
                pictures[i] = plot.grab().toImage();
            }
            // Pictures stand on whole pixels, and soft edges in one place are painted once.
            const auto isAlike = [](QRgb one, QRgb other) {
                return qAbs(qGreen(one) - qGreen(other)) < 128;
            };
            const int pixels = lonelyPixels(pictures[0], pictures[1], pictures[0].rect(), isAlike);
            QVERIFY2(pixels == 0, qPrintable(QString("%1: %2").arg(step).arg(pixels)));
        }
    }
};

QTEST_MAIN(ConsoleChartTest)
#include "tst_consolechart.moc"
