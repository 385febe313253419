// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/windowplacement.h"
#include "support/consolerig.h"
#include "support/pictures.h"

class ConsoleWindowTest : public QObject
{
    Q_OBJECT

private slots:
    // Scripts reach slots by index, and connectSlotsByName by name.
    void metaObjectKeepsItsList()
    {
        const QMetaObject& meta = DataLoggerApp::staticMetaObject;
        QByteArrayList found;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            found << (method.methodSignature() + ' ' + method.parameterNames().join(',')).trimmed();
        }
        QCOMPARE(found, contents(XCU_TEST_DATA_DIR "/slots.txt").trimmed().split('\n'));
    }

    void firstRunStartsFromDefaults()
    {
        ConsoleHome home;
        {
            ConsoleRig console;
            QVERIFY(console.window.qt_metacast("IFaultServiceCommandsResponse"));
            QCOMPARE(console.window.geometry(), QRect(200, 200, 400, 400));
            QVERIFY(!console.window.windowIcon().pixmap(32, 32).isNull());
            QCOMPARE(console.child<QComboBox>("channelCount")->currentText(), "64 channels");
            // The absent pace reads 0, which the box makes its minimum.
            QCOMPARE(console.child<QSpinBox>("refreshRate")->text(), "1ms");
            QVERIFY(console.channelBox(32)->isChecked());
            QCOMPARE(console.plot()->graph(32)->name(), "data 33");
            QCOMPARE(console.plot()->graphCount(), 128);
            QCOMPARE(console.plot()->graph(1)->pen(), QPen(QColor(129, 196, 184)));
            QCOMPARE(console.plot()->xAxis->range(), QCPRange(0, 60));
            QCOMPARE(console.plot()->yAxis->range(), QCPRange(0, 1024));
            QCOMPARE(int(console.plot()->interactions()), 0x3b); // of items none is selectable
            QVERIFY(!console.child<QWidget>("CanbusWidget")->isHidden());
            // Operators know these places, though nothing hangs on them.
            for (const char* idle : {"selectChannels", "pushButton_4", "actionOpen"}) {
                QVERIFY(console.child<QObject>(idle));
            }
            const auto* canSignals = console.child<QTableWidget>("canTraceFrames");
            QCOMPARE(canSignals->horizontalHeaderItem(9)->text(), "FrameLength");
            QVERIFY(!canSignals->horizontalHeaderItem(10)); // the name needs no title
            // The panels write their keys, and nothing else does.
            const QString panels = "ui/pidTunerShow ui/showChannelSelector ui/virtualInputShow";
            QCOMPARE(home.keys().join(' '), panels);
        }
        QCOMPARE(home.stored("ui/pos").toPoint(), QPoint(200, 200));
        QCOMPARE(home.stored("ui/isMaximized"), QVariant(false));
    }

    void storedStateComesBack()
    {
        ConsoleHome home;
        home.store("ui/refreshRate", 5000);
        home.store("ui/channelsCount", 9);       // no such choice
        home.store("ui/autostart", 7);           // likewise
        home.store("ui/size", QSize(40000, -1)); // more than can be painted
        home.store("ui/channels/3/selected", false);
        home.store("ui/channels/3/label", "Oil");
        home.store("ui/channelLayout", QByteArray("no splitter state"));
        home.store("ui/isMaximized", "1"); // of texts only "true" counts
        {
            ConsoleRig console;
            QCOMPARE(console.child<QComboBox>("channelCount")->currentIndex(), -1);
            QCOMPARE(home.stored("ui/channelsCount").toInt(), -1);
            QCOMPARE(console.child<QCheckBox>("autostart")->checkState(), Qt::Checked);
            QVERIFY(!console.window.isMaximized());
            QCOMPARE(console.window.width(), 16384);
            QCOMPARE(console.channelBox(3)->checkState(), Qt::Unchecked);
            QCOMPARE(console.channelBox(3)->text(), "Oil");
            QCOMPARE(console.plot()->graph(3)->name(), "Oil");
            QVERIFY(!console.plot()->graph(3)->visible());
            QVERIFY(!home.keys().contains("ui/channels/4/selected"));
            for (const auto& [name, first] : {std::pair{"splitter", 300}, {"splitter_2", 200}}) {
                auto* splitter = console.child<QSplitter>(name);
                splitter->setSizes({first, 500 - first});
                emit splitter->splitterMoved(first, 1);
            }
        }
        QCOMPARE(home.stored("ui/refreshRate").toInt(), 2000);
        home.store("ui/isMaximized", "true");
        ConsoleRig later;
        QVERIFY(later.window.isMaximized());
        for (const auto& [name, key] :
             {std::pair{"splitter", "ui/channelLayout"}, {"splitter_2", "ui/canLayout"}}) {
            QCOMPARE(later.child<QSplitter>(name)->saveState(), home.stored(key).toByteArray());
        }
    }

    // Hidden panels stay hidden, and since no box changes, their empty container stays.
    void hiddenPanelsComeBackHidden()
    {
        ConsoleHome home;
        const QList<std::tuple<const char*, const char*, QString>> panels = {
            {"canMsg", "CanbusWidget", "ui/pidTunerShow"},
            {"dataSelectorShow", "dataSeriesWidget", "ui/showChannelSelector"},
            {"virtualInputsShow", "virtualInputsWidget", "ui/virtualInputShow"}};
        for (const auto& [box, panel, key] : panels) {
            home.store(key, true);
        }
        ConsoleRig console;
        const auto* container = console.child<QWidget>("addonsContainer");
        QVERIFY(!container->isHidden());
        for (const auto& [box, panel, key] : panels) {
            for (const bool isHidden : {true, false, true}) {
                QCOMPARE(console.child<QWidget>(panel)->isHidden(), isHidden);
                QCOMPARE(home.stored(key), QVariant(isHidden));
                console.click(box);
                QCOMPARE(container->isHidden(), !isHidden);
            }
            console.click(box);
        }
    }

    void framesLieOnTheirScreen()
    {
        const QRect screen(1600, 24, 1366, 744); // right of another one, with a panel at the top
        const auto at = [&](int x, int y, int width = 1358, int height = 700) {
            return platform::framePosition({x, y, width, height}, screen);
        };
        QCOMPARE(at(1608, 68), QPoint(1608, 68)); // right as it is, to the last pixel
        QCOMPARE(at(1609, 69), QPoint(1608, 68));
        QCOMPARE(at(1599, -100), QPoint(1600, 24));
        QCOMPARE(at(9000, 9000, 1366, 744), QPoint(1600, 24));
        QCOMPARE(at(9000, 30, 1400, 800), QPoint(1600, 24)); // too large: the title bar counts
    }

    void windowsOpenWithEverythingInReach()
    {
        ConsoleHome home;
        home.store("ui/size", QSize(1500, 1000));
        home.store("ui/pidTunerShow", true);
        ConsoleRig console;
        console.window.show();
        // What the window has beyond its smallest size is for the chart and the strip.
        const auto* signalArea = console.child<QWidget>("widget_2");
        const auto* sliders = console.child<QWidget>("virtualInputsWidget");
        QCOMPARE(signalArea->height(), signalArea->minimumSizeHint().height());
        QCOMPARE(sliders->height(), sliders->sizeHint().height());
        {
            home.store("ui/virtualInputShow", true);
            ConsoleRig alone;
            alone.window.show();
            const auto* area = alone.child<QScrollArea>("dataSeriesWidget");
            QVERIFY(area->viewport()->width() > alone.channelBox(33)->geometry().right());
        }
        console.click("canMsg");
        console.window.resize(console.window.minimumSizeHint());
        QTRY_COMPARE(signalArea->height(), signalArea->minimumSizeHint().height());
        const int strip = console.child<QScrollArea>("dataSeriesWidget")->viewport()->height();
        QVERIFY(strip > console.channelBox(2)->geometry().bottom()); // its third row

        auto* signalTable = console.child<QTableWidget>("canTraceFrames");
        for (int row = 0; row < 40; ++row) {
            console.click("addCanTrace");
        }
        const QRect newest = signalTable->visualRect(signalTable->model()->index(39, 0));
        QVERIFY(signalTable->viewport()->rect().contains(newest));
        const int before = signalTable->columnWidth(3);
        signalTable->setItem(39, 3, new QTableWidgetItem("1.234567890123456e-123"));
        QTRY_VERIFY(signalTable->columnWidth(3) > before);
        QVERIFY(signalTable->columnWidth(10) > 100); // the name

        console.window.faultGetFaultsResp(std::vector<FaultItemData>(30, {1, 1, 65535, 7, 12}));
        for (const auto& [button, name] :
             {std::pair{"candump", "CandumpWindow"}, {"faultStatus", "FaultsDisplay"}}) {
            console.click(button);
            auto* table = inOpenWindow<QTableView>(name);
            QTRY_VERIFY(table->horizontalHeader()->length() <= table->viewport()->width());
            QVERIFY(table->columnWidth(table->model()->columnCount() - 1) > 50);
            QCOMPARE(
                table->window()->windowIcon().cacheKey(), console.window.windowIcon().cacheKey());
            console.window.activateWindow();
            QTRY_VERIFY(console.window.isActiveWindow());
            table->window()->showMinimized();
            console.click(button);
            QTRY_VERIFY(table->window()->isActiveWindow() && !table->window()->isMinimized());
        }
    }

    // Of a burst the last frame is always shown, in the table and by the status text.
    void framesArePaintedAtTheDisplaysPace()
    {
        ConsoleHome home;
        ConsoleRig console;
        console.window.show();
        console.click("candump"); // opens its window
        auto* table = inOpenWindow<QTableView>("CandumpWindow");
        PaintCount texts, frames;
        console.child<QStatusBar>("statusBar")->installEventFilter(&texts);
        table->viewport()->installEventFilter(&frames);
        for (int i = 0; i < 1000; ++i) {
            console.window.candump(i, 0, 0x123, false, false, false, "");
            QCoreApplication::processEvents();
        }
        QVERIFY(texts.paints < 500 && frames.paints < 500);
        for (QWidget* window : {static_cast<QWidget*>(&console.window), table->window()}) {
            const QImage newest = window->grab().toImage();
            QTRY_COMPARE(screenOf(*window), newest);
        }
    }
};

QTEST_MAIN(ConsoleWindowTest)
#include "tst_consolewindow.moc"
