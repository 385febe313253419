// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/connectedworkbench.h"
#include "support/stdoutcapture.h"

namespace {

// The edits among the commands: "X0=5" and "Y0=5" for labels, "v1,2=5" for X index 1, Y index 2.
QString editsOf(const std::vector<xcu::Command>& commands)
{
    QStringList edits;
    for (const xcu::Command& command : commands) {
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

using Cells = QVector<QPoint>; // column and row of each
const QString wholeMap = "X0=10 X1=20 X2=30 Y0=7 Y1=8 v0,0=0 v0,1=3 v1,0=1 v1,1=4 "
                         "v2,0=-2147483648 v2,1=5";

const Cells value{{2, 1}};
const Cells block{{2, 1}, {1, 2}}; // with the other two corners
// "=" and the text to type into the first cell, "p", "l", "v" and the text to paste, or a slot; and
// what is sent.
const std::tuple<QString, Cells, QStringList, QString> edits[] = {
    {"X label", {{3, 0}}, {"=-5"}, "X2=-5"},
    {"Y label", {{0, 2}}, {"=5"}, "Y1=5"},
    {"value", value, {"=2147483647", "=2147483647"}, "v1,0=2147483647"}, // once
    {"no number is sent as 0", value, {"=abc", "=abc", "=2147483648"}, "v1,0=0 v1,0=0"},
    {"corner is label -1", {{0, 0}}, {"=9"}, "X4294967295=9"},
    {"a spreadsheet's minus, space", value, {QStringLiteral("v\u22125\u00a0")}, "v1,0=-5"},
    {"step no corner", {{0, 0}, {1, 2}}, {"p"}, "X0=11 Y0=8 v0,0=1 Y1=9 v0,1=4"},
    {"step no text", block, {"=x", "p"}, "v1,0=0 v0,0=1 v0,1=4 v1,1=5"},
    {"step down wraps", {{3, 1}, {3, 2}}, {"l"}, "v2,0=2147483647 v2,1=4"},
    {"nothing selected", {}, {"p", "l", "v9"}, ""},
    {"a block onto itself", block, {"v0\t1\t\n3\t4\t\n"}, ""},
    {"blank what is around", {{1, 0}, {3, 2}}, {"v10\t20\t\n0\t1\t\n"}, "X2=0 v2,0=0 v0,1=0"},
    {"one cell takes the first field", value, {"v6\t7\n8"}, "v1,0=6"},
    {"cut, and the rest stays", block, {"v6\t7\t8"}, "v0,0=6 v1,0=7"},
    {"nothing to paste", {{0, 0}, {1, 1}}, {"v"}, "X4294967295=0 X4294967295=0"},
    {"text is sent as 0", {{0, 2}, {1, 2}}, {"v=A\t1.5", "v=A\t1.5"}, "Y1=0 v0,1=0"},
    {"returns stay, and are read over", value, {"v5\r\n6\r", "v5"}, "v1,0=5 v1,0=5"},
    {"10 MB", block, {"v" + QString(10'000'000, '\t')}, "v0,0=0 v1,0=0"},
    {"slots", {}, {"onLabelXChanged", "onLabelYChanged", "onValueChanged"}, "X0=5 Y0=5 v0,0=5"},
};

} // namespace

class TestMapEditor : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        bench.reset();
        bench = std::make_unique<ConnectedWorkbench>();
        QVERIFY(QTest::qWaitForWindowActive(bench->window.get()));
        QTRY_COMPARE(bench->entries("menuMap_Tuning").size(), 4);
        openMap();
    }

    void editsAreSent()
    {
        for (const auto& [name, selection, actions, sent] : edits) {
            openMap();
            for (const QString& action : actions) {
                act(action, selection);
            }
            compareEdits(sent, name);
        }
    }

    void copying()
    {
        QClipboard* clipboard = QApplication::clipboard();
        QStringList forms;
        const QObject untilTheEnd;
        connect(clipboard, &QClipboard::dataChanged, &untilTheEnd, [&] {
            const QMimeData* data = clipboard->mimeData();
            forms << (data->hasHtml() ? data->html() : data->text());
        });
        clipboard->setText("before");
        select({});
        press(Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(forms, QStringList("before"));
        table->item(1, 1)->setText("<a&b>");
        select({{0, 0}, {1, 1}});
        press(Qt::Key_C, Qt::ControlModifier);
        const QString html = "<!--StartFragment-->\n<table>"
                             "<tr>\n  <td x:num></td>\n  <td x:num>10</td>\n</tr>\n"
                             "<tr>\n  <td x:num>7</td>\n  <td x:num><a&b></td>\n</tr>\n"
                             "</table><!--EndFragment-->\n";
        QCOMPARE(forms.mid(1), QStringList({html, "\t10\t\n7\t<a&b>\t\n"})); // the text replaces it
        compareEdits("v0,0=0");
    }

    void answersFindTheNewestEditorOrNone()
    {
        const auto editorsLeft = [this] {
            return bench->window->findChildren<QTableWidget*>().size();
        };
        const QByteArray traces = stdoutOf([&] {
            QTableWidget* older = table;
            openMap();
            older->item(1, 1)->setText("77");     // still sends
            bench->subWindows().first()->close(); // must not cut off the newer one
            QTRY_COMPARE(editorsLeft(), 1);
            bench->answer("map_details { map_id: 7 x_size: 1 y_size: 1 }"); // no editor
            bench->answer("map_data { map_id: 7 x_labels: 1 }");
            // No controller has these.
            bench->answer("map_details { map_id: 1 x_size: 1025 y_size: 1 }");
            bench->answer("map_details { map_id: 1 x_size: 1 y_size: 4294967295 }");
            bench->answer("map_data { map_id: 1 x_labels: 100 values: 200 }"); // the rest stays
            compareEdits("v0,0=77 X0=100 v0,0=200");
            QCOMPARE(bench->controller.maps()[1].x_labels(0), 100);
            QCOMPARE(bench->controller.maps()[1].values(0), 200);
        });
        QVERIFY(traces.contains("\nReceived map data 1: x: 3 y: 2\nReceived map data: x: 3 y: 2\n"
                                "x[0] = 10\n<<==>>X\nx[1] = 20\n<<==>>X\nx[2] = 30\n<<==>>X\n"
                                "y[0] = 7\n<<==>>X\ny[1] = 8\n<<==>>X\n"
                                "v[0, 0] = 0\n<<==>>X\nv[0, 1] = 3\n<<==>>X\nv[1, 0] = 1\n"));
        QVERIFY(traces.contains("\nReceived map data 7: x: 1 y: 0\n"));
        QCOMPARE(table->columnCount(), 4);
        bench->answer("map_details { map_id: 1 }");
        QTRY_COMPARE(table->columnCount(), 1); // the corner alone is left
        QCOMPARE(table->rowCount(), 1);
        bench->subWindows().last()->close();
        QTRY_COMPARE(editorsLeft(), 0);
        bench->answer("map_data { map_id: 1 x_labels: 1 }");
        compareEdits("");
    }

private:
    // An editor of a map of 3 columns and 2 rows. Loading sends every cell back.
    void openMap()
    {
        QVERIFY(google::protobuf::TextFormat::ParseFromString(
            "x_labels: [10, 20, 30] y_labels: [7, 8] values: [0, 1, -2147483648, 3, 4, 5]",
            &bench->controller.maps()[1]));
        bench->choose("menuMap_Tuning", "Map 1");
        QTRY_COMPARE(editsOf(bench->received), wholeMap);
        bench->received.clear();
        table = bench->subWindows().last()->findChild<QTableWidget*>("mapValues");
    }

    void act(const QString& action, const Cells& selection)
    {
        select(selection);
        if (action.startsWith('=')) {
            table->setCurrentCell(selection[0].y(), selection[0].x());
            table->edit(table->currentIndex());
            QWidget* editor = QApplication::focusWidget();
            QTest::keyClicks(editor, action.mid(1));
            QTest::keyClick(editor, Qt::Key_Return);
        } else if (action.startsWith('v')) {
            QApplication::clipboard()->setText(action.mid(1));
            press(Qt::Key_V, Qt::ControlModifier);
        } else if (action.startsWith("on")) {
            QMetaObject::invokeMethod(table->parent(), qPrintable(action), Q_ARG(int, 5));
        } else {
            press(action == "p" ? Qt::Key_P : Qt::Key_L);
        }
    }

    void select(const Cells& cells)
    {
        table->clearSelection();
        for (const QPoint& cell : cells) {
            table->setRangeSelected({cell.y(), cell.x(), cell.y(), cell.x()}, true);
        }
        table->setFocus();
    }

    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(bench->window->windowHandle(), key, modifiers);
    }

    // The second request for a record from now on was sent after all edits: no more are under way.
    void compareEdits(const QString& expected, const QString& name = {})
    {
        const int before = bench->count(xcu::Command::kDataloggerData);
        QTRY_VERIFY(bench->count(xcu::Command::kDataloggerData) >= before + 2);
        QCOMPARE(name + ": " + editsOf(bench->received), name + ": " + expected);
        bench->received.clear();
    }

    std::unique_ptr<ConnectedWorkbench> bench;
    QTableWidget* table = nullptr;
};

QTEST_MAIN(TestMapEditor)
#include "tst_mapeditor.moc"
