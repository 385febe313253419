// SPDX-License-Identifier: GPL-3.0-or-later
#include "connectedworkbench.h"
#include "support/stdoutcapture.h"
#include "workbench/cellblock.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QSignalSpy>
#include <QTableWidget>
#include <limits>

namespace {

// The edits among the commands: "X0=5" and "Y0=5" for labels, "v1,2=5" for X index 1, Y index 2.
QString editsOf(const VirtualController& controller)
{
    QStringList edits;
    for (const xcu::Command& command : controller.received()) {
        if (command.has_map_tuner_set_map_label()) {
            const auto& label = command.map_tuner_set_map_label();
            const QString axis = label.axis() == xcu::MAP_AXIS_X ? "X" : "Y";
            edits << axis + QString("%1=%2").arg(label.label_id()).arg(label.value());
        } else if (command.has_map_tuner_set_map_value()) {
            const auto& cell = command.map_tuner_set_map_value();
            edits << QString("v%1,%2=%3").arg(cell.x_id()).arg(cell.y_id()).arg(cell.value());
        }
    }
    return edits.join(' ');
}

using Cells = QTableWidgetSelectionRange; // top, left, bottom, right
const Cells nothing;
const QString wholeMap = "X0=10 X1=20 X2=30 Y0=7 Y1=8 v0,0=0 v0,1=3 v1,0=1 v1,1=4 "
                         "v2,0=-2147483648 v2,1=5";

} // namespace

Q_DECLARE_METATYPE(QTableWidgetSelectionRange)

class TestMapEditor : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { bench.reset(); }
    void edits_data();
    void edits();
    void raggedSelection();
    void copying();
    void formsOfABlock();
    void answersThatDoNotFit();
    void newestEditorGetsTheAnswers();

private:
    QTableWidget* openMap();
    void select(const Cells& cells);
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void compareEdits(const QString& expected);

    std::unique_ptr<ConnectedWorkbench> bench;
    QTableWidget* table = nullptr;
};

// A map of 3 columns and 2 rows, X labels 10 20 30, Y labels 7 8.
void TestMapEditor::init()
{
    bench = std::make_unique<ConnectedWorkbench>(std::vector<MapSize>{{3, 2}});
    QVERIFY(QTest::qWaitForWindowActive(bench->window.get()));
    QTRY_COMPARE(bench->entries("menuMap_Tuning"), QStringList("Map 0"));
    CalibrationMaps::Map& map = *bench->controller().maps().map(0);
    map.xLabels = {10, 20, 30};
    map.yLabels = {7, 8};
    map.values = {0, 1, std::numeric_limits<int>::min(), 3, 4, 5};
    table = openMap();
}

// Loading sends every cell back.
QTableWidget* TestMapEditor::openMap()
{
    bench->controller().clearReceived();
    bench->choose("menuMap_Tuning", "Map 0");
    [this] { QTRY_COMPARE(editsOf(bench->controller()), wholeMap); }();
    return bench->subWindows().last()->findChild<QTableWidget*>("mapValues");
}

void TestMapEditor::select(const Cells& cells)
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
void TestMapEditor::compareEdits(const QString& expected)
{
    constexpr auto marker = xcu::Command::kDataloggerData;
    const int before = bench->controller().count(marker);
    QTRY_VERIFY(bench->controller().count(marker) >= before + 2);
    QCOMPARE(editsOf(bench->controller()), expected);
}

void TestMapEditor::edits_data()
{
    QTest::addColumn<Cells>("selection");
    QTest::addColumn<QString>("action"); // "p", "l", "=" and the text to type, or "v" and to paste
    QTest::addColumn<QString>("sent");
    const auto row = [](const char* name, const Cells& cells, const QString& action,
                        const QString& sent) { QTest::newRow(name) << cells << action << sent; };
    const Cells corner(0, 0, 0, 0);
    const Cells value(1, 2, 1, 2);
    const Cells block(1, 1, 2, 2);
    row("X label", {0, 3, 0, 3}, "=-5", "X2=-5");
    row("Y label", {2, 0, 2, 0}, "=5", "Y1=5");
    row("value", value, "=2147483647", "v1,0=2147483647");
    row("no number is sent as 0", value, "=abc", "v1,0=0");
    row("too large is sent as 0", value, "=2147483648", "v1,0=0");
    row("the same text", value, "=1", "");
    row("corner is label -1", corner, "=9", "X4294967295=9");
    row("step nothing", nothing, "p", "");
    row("step labels, skip the corner", {0, 0, 2, 1}, "p", "X0=11 Y0=8 v0,0=1 Y1=9 v0,1=4");
    row("step down wraps", {1, 3, 2, 3}, "l", "v2,0=2147483647 v2,1=4");
    row("paste nowhere", nothing, "v9", "");
    row("a block onto itself", block, "v0\t1\t\n3\t4\t\n", "");
    row("a block blanks what is beside and below", {0, 1, 2, 3}, "v10\t20\t\n0\t1\t\n",
        "X2=0 v2,0=0 v0,1=0");
    row("one cell takes the first field", value, "v6\t7\n8", "v1,0=6");
    row("cut, and the rest stays", block, "v6\t7\t8", "v0,0=6 v1,0=7");
    row("empty clipboard", {1, 2, 2, 3}, "v", "v1,0=0");
    row("missing cell sends twice", corner, "v", "X4294967295=0 X4294967295=0");
    row("stored as text, sent as 0", {2, 0, 2, 1}, "v=A\t1.5", "Y1=0 v0,1=0");
    row("returns stay, and are read over", block, "v5\r\n6\r", "v0,0=5 v0,1=6");
    row("10 MB", block, "v" + QString(10'000'000, '\t'), "v0,0=0 v1,0=0");
}

void TestMapEditor::edits()
{
    QFETCH(Cells, selection);
    QFETCH(QString, action);
    QFETCH(QString, sent);
    select(selection);
    if (action.startsWith('=')) {
        table->setCurrentCell(selection.topRow(), selection.leftColumn());
        table->edit(table->currentIndex());
        QWidget* editor = QApplication::focusWidget();
        QTest::keyClicks(editor, action.mid(1));
        QTest::keyClick(editor, Qt::Key_Return);
    } else if (action.startsWith('v')) {
        QApplication::clipboard()->setText(action.mid(1));
        press(Qt::Key_V, Qt::ControlModifier);
    } else {
        press(action == "p" ? Qt::Key_P : Qt::Key_L);
    }
    compareEdits(sent);
    if (action.startsWith('=') || action.contains('\r')) {
        const QTableWidgetItem* item = table->item(selection.topRow(), selection.leftColumn());
        QCOMPARE(item->text(), action.mid(1).section('\n', 0, 0)); // as it came
    }
}

// The cells between are stepped too, unless they hold a text.
void TestMapEditor::raggedSelection()
{
    table->item(1, 2)->setText("x");
    compareEdits(wholeMap + " v1,0=0");
    select({1, 1, 1, 1});
    table->setRangeSelected({2, 2, 2, 2}, true);
    press(Qt::Key_P);
    compareEdits("v0,0=1 v0,1=4 v1,1=5");
}

void TestMapEditor::copying()
{
    QClipboard* clipboard = QApplication::clipboard();
    clipboard->setText("before");
    QSignalSpy changes(clipboard, &QClipboard::dataChanged);
    select(nothing);
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard->text(), QString("before"));
    select({0, 0, 1, 1});
    press(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard->text(), QString("\t10\t\n7\t0\t\n"));
    QVERIFY(!clipboard->mimeData()->hasHtml());
    QCOMPARE(changes.count(), 2); // the table first, and the text in its place
    compareEdits("");
}

void TestMapEditor::formsOfABlock()
{
    const CellBlock cells = {{"1", "2"}, {"-3", "<a&b>"}};
    QCOMPARE(toText(cells), QString("1\t2\t\n-3\t<a&b>\t\n"));
    QCOMPARE(
        toHtml(cells), QString("<!--StartFragment-->\n<table>"
                               "<tr>\n  <td x:num>1</td>\n  <td x:num>2</td>\n</tr>\n"
                               "<tr>\n  <td x:num>-3</td>\n  <td x:num><a&b></td>\n</tr>\n"
                               "</table><!--EndFragment-->\n"));
}

void TestMapEditor::answersThatDoNotFit()
{
    const auto sendDetails = [this](unsigned id, unsigned x, unsigned y) {
        xcu::Response response;
        response.mutable_map_details()->set_map_id(id);
        response.mutable_map_details()->set_x_size(x);
        response.mutable_map_details()->set_y_size(y);
        bench->controller().send(response);
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
        sendDetails(7, 1, 1);
        sendDetails(0, 1025, 1);
        sendDetails(0, 1, 4294967295U);
        bench->controller().send(count);
        compareEdits("X0=100 v0,0=200"); // the rest of the map stays as it was
    });
    QVERIFY(traces.contains("\nReceived map data 7: x: 1 y: 0\n"));
    QVERIFY(traces.contains("\nRefused map count 65537\n"));
    QCOMPARE(table->columnCount(), 4);
    QCOMPARE(bench->entries("menuMap_Tuning"), QStringList("Map 0"));
    sendDetails(0, 0, 0); // the corner alone is left
    QTRY_COMPARE(table->columnCount(), 1);
    QCOMPARE(table->rowCount(), 1);
}

void TestMapEditor::newestEditorGetsTheAnswers()
{
    QTableWidget* older = table;
    QTableWidget* newer = openMap();
    older->item(1, 1)->setText("77"); // still sends
    compareEdits(wholeMap + " v0,0=77");
    QCOMPARE(newer->item(1, 1)->text(), QString("0"));
    const auto editorsLeft = [this] { return bench->window->findChildren<QTableWidget*>().size(); };
    bench->subWindows().first()->close(); // must not cut off the newer one
    QTRY_COMPARE(editorsLeft(), 1);
    xcu::Response map;
    map.mutable_map_data()->add_x_labels(1234);
    bench->controller().send(map);
    QTRY_COMPARE(newer->item(0, 1)->text(), QString("1234"));
    bench->subWindows().last()->close();
    QTRY_COMPARE(editorsLeft(), 0);
    bench->controller().send(map);
    compareEdits(wholeMap + " v0,0=77 X0=1234");
}

QTEST_MAIN(TestMapEditor)
#include "tst_mapeditor.moc"
