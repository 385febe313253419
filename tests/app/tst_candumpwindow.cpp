// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/candumpviewmodel.h"
#include "app/candumpwindow.h"

#include <QApplication>
#include <QHeaderView>
#include <QLayout>
#include <QTableView>
#include <QTest>

namespace {

// Notes what the table's first cell says whenever the table is painted.
class PaintLog : public QObject
{
public:
    explicit PaintLog(QTableView& view)
        : QObject(&view)
        , table(view)
    {
        table.viewport()->installEventFilter(this);
    }

    int count = 0;
    QString lastText;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            ++count;
            lastText = table.model()->index(0, 0).data().toString();
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QTableView& table;
};

} // namespace

class TestCandumpWindow : public QObject
{
    Q_OBJECT

private slots:
    void form();
    void picturesEqualTheStockView_data();
    void picturesEqualTheStockView();
    void burstsArePaintedTogetherAndTheLastFrameAlways();
};

void TestCandumpWindow::form()
{
    CandumpViewModel model;
    const CandumpWindow window(&model, nullptr);
    QCOMPARE(window.objectName(), QStringLiteral("CandumpWindow"));
    QCOMPARE(window.windowTitle(), QStringLiteral("Form"));
    QCOMPARE(window.size(), QSize(868, 550));
    QCOMPARE(window.layout()->objectName(), QStringLiteral("verticalLayout"));
    QCOMPARE(window.findChild<QTableView*>("tableView")->model(), &model);
    QVERIFY(!window.testAttribute(Qt::WA_QuitOnClose)); // the main window ends the program
}

void TestCandumpWindow::picturesEqualTheStockView_data()
{
    QTest::addColumn<int>("columnWidth");
    QTest::addColumn<int>("clockMs"); // at the moment of painting, frames came from 0 to 2900 ms

    QTest::newRow("fading") << 70 << 2900;
    QTest::newRow("black") << 70 << 9000;
    QTest::newRow("clock ran back") << 70 << -5000;
    QTest::newRow("texts wrap or are cut") << 21 << 2900;
    QTest::newRow("no room for a digit") << 9 << 2900;
}

void TestCandumpWindow::picturesEqualTheStockView()
{
    QFETCH(int, columnWidth);
    QFETCH(int, clockMs);
    CandumpViewModel model;
    CandumpWindow window(&model, nullptr);
    QTableView stock;
    stock.setModel(&model);
    auto* ours = window.findChild<QTableView*>("tableView");
    for (int id = 0; id < 30; ++id) {
        const std::string payload(static_cast<std::size_t>(id % 10), static_cast<char>(id * 9));
        model.updateFrame(id % 3, id * 100, id * 77, false, false, false, payload);
    }
    model.updateFrame(0, clockMs, 0x7ff, false, false, false, "");
    window.show();
    stock.resize(ours->size());
    for (QTableView* view : {ours, &stock}) {
        view->horizontalHeader()->setDefaultSectionSize(columnWidth);
        view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    }
    const auto picture = [](const QTableView& view) {
        return view.viewport()->grab().toImage().convertToFormat(QImage::Format_RGB32);
    };
    QCOMPARE(picture(*ours), picture(stock));
}

void TestCandumpWindow::burstsArePaintedTogetherAndTheLastFrameAlways()
{
    CandumpViewModel model;
    CandumpWindow window(&model, nullptr);
    auto* view = window.findChild<QTableView*>("tableView");
    model.updateFrame(1, 0, 1, false, false, false, "\x11");
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCoreApplication::processEvents();

    const PaintLog paints(*view);
    constexpr int frames = 1000;
    for (int i = 0; i < frames; ++i) {
        model.updateFrame(1, i, 1, false, false, false, i + 1 < frames ? "\x22" : "\x33");
        QCoreApplication::processEvents();
    }
    QVERIFY(paints.count < frames / 2);
    QTRY_COMPARE(paints.lastText, QStringLiteral("33"));

    // After a pause a single frame is painted without a further one.
    QTest::qWait(0);
    model.updateFrame(1, 0, 1, false, false, false, "\x44");
    QTRY_COMPARE(paints.lastText, QStringLiteral("44"));
}

QTEST_MAIN(TestCandumpWindow)
#include "tst_candumpwindow.moc"
