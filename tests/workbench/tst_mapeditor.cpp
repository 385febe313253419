// SPDX-License-Identifier: GPL-3.0-or-later
#include "connectedworkbench.h"
#include "support/stdoutcapture.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QMimeData>
#include <QSignalSpy>
#include <QTableWidget>

namespace {

// The edits among the commands: "X0=5" and "Y0=5" for labels, "v1,2=5" for X index 1, Y index 2.
QStringList editsOf(const VirtualController& controller)
{
    QStringList edits;
    for (const xcu::Command& command : controller.received()) {
        if (command.has_map_tuner_set_map_label()) {
            const auto& label = command.map_tuner_set_map_label();
            edits << QStringLiteral("%1%2=%3")
                         .arg(label.axis() == xcu::MAP_AXIS_X ? 'X' : 'Y')
                         .arg(label.label_id())
                         .arg(label.value());
        } else if (command.has_map_tuner_set_map_value()) {
            const auto& cell = command.map_tuner_set_map_value();
            edits
                << QStringLiteral("v%1,%2=%3").arg(cell.x_id()).arg(cell.y_id()).arg(cell.value());
        }
    }
    return edits;
}

QTableWidgetSelectionRange range(int top, int left, int bottom, int right)
{
    return {top, left, bottom, right};
}
const QTableWidgetSelectionRange nothing;

} // namespace

Q_DECLARE_METATYPE(QTableWidgetSelectionRange)

class TestMapEditor : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void loadingEchoesEveryCell();
    void edits_data();
    void edits();
    void steps_data();
    void steps();
    void rectangleAroundARaggedSelection();
    void pastes_data();
    void pastes();
    void copies();
    void answersThatDoNotFit();
    void newestEditorGetsTheAnswers();

private:
    QTableWidget* openMap();
    void select(const QTableWidgetSelectionRange& cells);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void compareEdits(const QStringList& expected);

    std::unique_ptr<ConnectedWorkbench> bench;
    QTableWidget* table = nullptr;
};

// A map of 3 columns and 2 rows, X labels 10 20 30, Y labels 7 8, values 0 1 2 and 3 4 5.
void TestMapEditor::init()
{
    bench = std::make_unique<ConnectedWorkbench>(std::vector<MapSize>{{3, 2}});
    QVERIFY(QTest::qWaitForWindowActive(bench->window.get()));
    QTRY_COMPARE(bench->entries("menuMap_Tuning"), QStringList("Map 0"));
    CalibrationMaps::Map& map = *bench->controller().maps().map(0);
    map.xLabels = {10, 20, 30};
    map.yLabels = {7, 8};
    map.values = {0, 1, 2, 3, 4, 5};
    table = openMap();
}

void TestMapEditor::cleanup()
{
    bench.reset();
}

QTableWidget* TestMapEditor::openMap()
{
    bench->controller().clearReceived();
    bench->choose("menuMap_Tuning", "Map 0");
    [this] { QTRY_COMPARE(editsOf(bench->controller()).size(), 11); }();
    return bench->subWindows().last()->findChild<QTableWidget*>("mapValues");
}

void TestMapEditor::select(const QTableWidgetSelectionRange& cells)
{
    table->clearSelection();
    table->setRangeSelected(cells, true);
    table->setFocus();
    bench->controller().clearReceived();
}

void TestMapEditor::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(bench->window->windowHandle(), key, modifiers);
}

// The second request for a record from now on was sent after all edits: no more are under way.
void TestMapEditor::compareEdits(const QStringList& expected)
{
    constexpr auto marker = xcu::Command::kDataloggerData;
    const int before = bench->controller().count(marker);
    QTRY_VERIFY(bench->controller().count(marker) >= before + 2);
    QCOMPARE(editsOf(bench->controller()), expected);
}

void TestMapEditor::loadingEchoesEveryCell()
{
    QCOMPARE(bench->subWindows().last()->windowTitle(), QString("Map ID: 0"));
    compareEdits(
        {"X0=10", "X1=20", "X2=30", "Y0=7", "Y1=8", "v0,0=0", "v0,1=3", "v1,0=1", "v1,1=4",
         "v2,0=2", "v2,1=5"});
    QCOMPARE(table->item(0, 0), nullptr);
    QCOMPARE(table->item(2, 3)->text(), QString("5"));
    QCOMPARE(table->horizontalHeader()->defaultSectionSize(), 50);
}

void TestMapEditor::edits_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QStringList>("sent");
    QTest::newRow("X label") << 0 << 3 << "-5" << QStringList("X2=-5");
    QTest::newRow("Y label") << 2 << 0 << "5" << QStringList("Y1=5");
    QTest::newRow("value") << 1 << 3 << "2147483647" << QStringList("v2,0=2147483647");
    QTest::newRow("no number is sent as 0") << 1 << 1 << "abc" << QStringList("v0,0=0");
    QTest::newRow("too large is sent as 0") << 1 << 2 << "2147483648" << QStringList("v1,0=0");
    QTest::newRow("the same text") << 1 << 2 << "1" << QStringList();
    QTest::newRow("corner") << 0 << 0 << "9" << QStringList("X4294967295=9");
}

void TestMapEditor::edits()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(QString, typed);
    QFETCH(QStringList, sent);
    select(nothing);
    table->setCurrentCell(row, column);
    table->edit(table->currentIndex());
    auto* editor = qobject_cast<QWidget*>(QApplication::focusWidget());
    QVERIFY(editor->inherits("QLineEdit"));
    QTest::keyClicks(editor, typed);
    QTest::keyClick(editor, Qt::Key_Return);
    compareEdits(sent);
    QCOMPARE(table->item(row, column)->text(), typed);
}

void TestMapEditor::steps_data()
{
    QTest::addColumn<QTableWidgetSelectionRange>("selection");
    QTest::addColumn<QStringList>("up"); // "p" and then "l" are pressed
    QTest::addColumn<QStringList>("down");
    QTest::newRow("nothing") << nothing << QStringList() << QStringList();
    QTest::newRow("rows first, labels too, corner skipped")
        << range(0, 0, 1, 1) << QStringList({"X0=11", "Y0=8", "v0,0=-2147483648"})
        << QStringList({"X0=10", "Y0=7", "v0,0=2147483647"});
    QTest::newRow("no number is skipped")
        << range(1, 2, 1, 3) << QStringList("v2,0=3") << QStringList("v2,0=2");
}

void TestMapEditor::steps()
{
    QFETCH(QTableWidgetSelectionRange, selection);
    QFETCH(QStringList, up);
    QFETCH(QStringList, down);
    table->item(1, 1)->setText("2147483647");
    table->item(1, 2)->setText("abc");
    compareEdits(editsOf(bench->controller()) + QStringList({"v0,0=2147483647", "v1,0=0"}));
    select(selection);
    press(Qt::Key_P);
    compareEdits(up);
    press(Qt::Key_L);
    compareEdits(up + down);
    QCOMPARE(table->item(1, 2)->text(), QString("abc"));
}

void TestMapEditor::rectangleAroundARaggedSelection()
{
    select(range(1, 1, 1, 1));
    table->setRangeSelected(range(2, 2, 2, 2), true);
    press(Qt::Key_P);
    compareEdits({"v0,0=1", "v1,0=2", "v0,1=4", "v1,1=5"});
}

void TestMapEditor::pastes_data()
{
    QTest::addColumn<QTableWidgetSelectionRange>("selection");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("sent");
    QTest::newRow("nothing selected") << nothing << "9" << QStringList();
    QTest::newRow("a copied block onto itself") << range(1, 1, 2, 2) << "0\t1\t\n3\t4\t\n"
                                                << QStringList();
    QTest::newRow("a copied block blanks beside and below")
        << range(0, 1, 2, 3) << "10\t20\t\n0\t1\t\n"
        << QStringList({"X2=0", "v2,0=0", "v0,1=0"});
    QTest::newRow("one cell takes the first field")
        << range(2, 3, 2, 3) << "6\t7\n8\t9" << QStringList("v2,1=6");
    QTest::newRow("cut at the selection, the rest stays")
        << range(1, 1, 2, 2) << "6\t7\t8" << QStringList({"v0,0=6", "v1,0=7"});
    QTest::newRow("empty clipboard") << range(1, 2, 2, 3) << "" << QStringList("v1,0=0");
    QTest::newRow("a cell that is missing sends twice")
        << range(0, 0, 0, 0) << "" << QStringList({"X4294967295=0", "X4294967295=0"});
    QTest::newRow("text is stored and sent as 0")
        << range(2, 0, 2, 1) << "=A1\t1.5" << QStringList({"Y1=0", "v0,1=0"});
    QTest::newRow("the return of CRLF is stored, and read over")
        << range(1, 1, 2, 1) << "5\r\n6\r\n"
        << QStringList({"v0,0=5", "v0,1=6"});
}

void TestMapEditor::pastes()
{
    QFETCH(QTableWidgetSelectionRange, selection);
    QFETCH(QString, text);
    QFETCH(QStringList, sent);
    QApplication::clipboard()->setText(text);
    select(selection);
    press(Qt::Key_V, Qt::ControlModifier);
    compareEdits(sent);
    if (text.contains('\r')) {
        QCOMPARE(table->item(1, 1)->text(), QString("5\r"));
    }
}

void TestMapEditor::copies()
{
    QClipboard* clipboard = QApplication::clipboard();
    clipboard->setText("before");
    QSignalSpy changes(clipboard, &QClipboard::dataChanged);
    select(nothing);
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard->text(), QString("before"));
    select(range(0, 0, 1, 1));
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard->text(), QString("\t10\t\n7\t0\t\n"));
    QVERIFY(!clipboard->mimeData()->hasHtml());
    QCOMPARE(changes.count(), 2); // the table first, and the text in its place
    compareEdits({});
}

void TestMapEditor::answersThatDoNotFit()
{
    const auto details = [](unsigned id, unsigned x, unsigned y) {
        xcu::Response response;
        response.mutable_map_details()->set_map_id(id);
        response.mutable_map_details()->set_x_size(x);
        response.mutable_map_details()->set_y_size(y);
        return response;
    };
    xcu::Response map;
    map.mutable_map_data()->add_x_labels(100);
    map.mutable_map_data()->add_values(200);
    xcu::Response foreignMap = map;
    foreignMap.mutable_map_data()->set_map_id(7);
    xcu::Response count;
    count.mutable_map_tuner_started()->set_map_count(65537);

    const QByteArray traces = stdoutOf([&] {
        bench->controller().clearReceived();
        bench->controller().send(map);
        bench->controller().send(foreignMap);
        bench->controller().send(details(7, 1, 1));
        bench->controller().send(details(0, 1025, 1));
        bench->controller().send(details(0, 1, 4294967295U));
        bench->controller().send(count);
        compareEdits({"X0=100", "v0,0=200"}); // the rest of the map stays as it was
    });
    QVERIFY(traces.contains("\nReceived map data 7: x: 1 y: 0\n"));
    QVERIFY(traces.contains("\nRefused map count 65537\n"));
    QCOMPARE(table->columnCount(), 4);
    QCOMPARE(table->item(1, 2)->text(), QString("1"));
    QCOMPARE(bench->entries("menuMap_Tuning"), QStringList("Map 0"));

    bench->controller().send(details(0, 0, 0)); // the corner alone is left
    QTRY_COMPARE(table->columnCount(), 1);
    QCOMPARE(table->rowCount(), 1);
}

void TestMapEditor::newestEditorGetsTheAnswers()
{
    QTableWidget* older = table;
    QTableWidget* newer = openMap();
    older->item(1, 1)->setText("77");
    QTRY_COMPARE(bench->controller().maps().map(0)->values[0], 77); // still sends
    QCOMPARE(newer->item(1, 1)->text(), QString("0"));

    const QList<QMdiSubWindow*> editors = bench->subWindows();
    editors.first()->close(); // must not cut off the newer one
    xcu::Response map;
    map.mutable_map_data()->add_x_labels(1234);
    bench->controller().send(map);
    QTRY_COMPARE(newer->item(0, 1)->text(), QString("1234"));
    editors.last()->close();
    QTRY_VERIFY(bench->window->findChildren<QTableWidget*>("mapValues").isEmpty());
    bench->controller().send(map);
    compareEdits(editsOf(bench->controller()));
}

QTEST_MAIN(TestMapEditor)
#include "tst_mapeditor.moc"
