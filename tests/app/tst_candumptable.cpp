// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumpviewmodel.h"
#include "capture/candumpwindow.h"

#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <limits>

namespace {

// Notes what the table's first cell says whenever the table is painted.
class PaintLog : public QObject
{
public:
    int count = 0;
    QString lastText;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            const auto* table = qobject_cast<QTableView*>(watched->parent());
            lastText = table->model()->index(0, 0).data().toString();
            ++count;
        }
        return QObject::eventFilter(watched, event);
    }
};

} // namespace

class TestCandumpTable : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<CandumpViewModel> model;

    void update(int timestampMs, int canId, const QByteArray& hex)
    {
        const std::string bytes = QByteArray::fromHex(hex).toStdString();
        model->updateFrame(-3, timestampMs, canId, true, true, true, bytes);
    }

    QVariant cell(int column, int role = Qt::DisplayRole) const
    {
        return model->index(0, column).data(role);
    }

    QColor colour(int column) const { return cell(column, Qt::ForegroundRole).value<QColor>(); }

private slots:
    void init()
    {
        // The colour timer finds no slot, and must not: see the model's constructor.
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression("No such slot QAbstractTableModel::refreshColours\\(\\)"));
        model = std::make_unique<CandumpViewModel>();
    }

    void columns()
    {
        update(12345, 0x12, "01fe00");
        const QStringList titles = {"B0", "B1", "B2",  "B3",  "B4",  "B5",
                                    "B6", "B7", "DLC", "CAN", "Time"};
        const QStringList texts = {"01", "fe", "00", "", "", "", "", "", "3", "CAN-3", "12.345"};
        QCOMPARE(model->columnCount(), 11);
        for (int column = 0; column < 11; ++column) {
            QCOMPARE(model->headerData(column, Qt::Horizontal).toString(), titles[column]);
            QCOMPARE(cell(column).toString(), texts[column]);
            QCOMPARE(cell(column, Qt::TextAlignmentRole).toInt(), column < 8 ? 132 : 129);
            QCOMPARE(colour(column), QColor(column < 3 ? 255 : 0, 0, 0));
        }
        QVERIFY(!cell(3).isValid());
        QCOMPARE(model->flags(model->index(0, 0)), Qt::NoItemFlags);
        QVERIFY(!model->headerData(11, Qt::Horizontal).isValid());
        QVERIFY(!model->headerData(1, Qt::Vertical).isValid());
        for (const int length : {65, 0}) { // the real length, whatever is kept
            update(1, 0x12, QByteArray(2 * length, '1'));
            QCOMPARE(cell(8).toInt(), length);
        }
    }

    void rowsAreSortedBySignedIdentifier()
    {
        QSignalSpy inserted(model.get(), &QAbstractItemModel::rowsInserted);
        QSignalSpy changed(model.get(), &QAbstractItemModel::dataChanged);
        const QVector<int> ids = {0x123, 0x12, 0x18daf110, std::numeric_limits<int>::min()};
        const QVector<int> places = {0, 0, 2, 0};
        for (int i = 0; i < ids.size(); ++i) {
            update(i, ids[i], "00");
            QCOMPARE(inserted.takeFirst().at(1).toInt(), places[i]);
        }
        QVERIFY(changed.isEmpty());
        QCOMPARE(model->headerData(0, Qt::Vertical).toString(), "0xffffffff80000000");
        QCOMPARE(model->headerData(1, Qt::Vertical).toString(), "0x012");
        // A corner outside the table asks views for a whole repaint.
        update(9, 0x12, "00");
        QCOMPARE(changed.at(0).at(0).toModelIndex(), model->index(1, 0));
        QVERIFY(!changed.at(0).at(1).toModelIndex().isValid());
        QCOMPARE(changed.at(0).at(2).value<QVector<int>>(), QVector<int>({0, 9}));
    }

    // Two rules are broken, on purpose. rowCount() passes over its parent, so that cells seem to
    // have children of no parent; a corner of dataChanged() lies outside the table, see above.
    void rulesOfModels()
    {
        static QSet<QString> broken;
        const auto takeComplaint = [](QtMsgType, const QMessageLogContext& context,
                                      const QString& text) {
            if (qstrcmp(context.category, "qt.modeltest") == 0) {
                broken << QRegularExpression("model->\\w+|\\w+\\.isValid").match(text).captured();
            }
        };
        const auto previous = qInstallMessageHandler(takeComplaint);
        const QAbstractItemModelTester tester(
            model.get(), QAbstractItemModelTester::FailureReportingMode::Warning);
        for (const int id : {5, 1, 5, 3, 1}) {
            update(id, id, "00");
        }
        qInstallMessageHandler(previous);
        QCOMPARE(
            broken, QSet<QString>({"model->hasChildren", "model->parent", "bottomRight.isValid"}));
    }

    void changedBytesFade()
    {
        // Cut, not rounded. A clock that ran back gives an invalid colour, which paints black.
        const QMap<int, int> redOfAge = {
            {10, 254}, {1500, 127}, {600000, 0}, {-100, 263}, {-2000000000, 256}};
        for (const int ageMs : redOfAge.keys()) {
            init();
            update(5000, 0x12, "80");
            update(5000 + ageMs, 0x300, ""); // frames of others move the clock too
            QCOMPARE(colour(0), QColor(redOfAge[ageMs], 0, 0));
        }
    }

    void onlyNewValuesAreRed()
    {
        for (int ms = 4000; ms <= 7500; ms += 500) {
            update(ms, 0x12, ms < 6000 ? "ff01" : "ff02");
        }
        QCOMPARE(colour(0), QColor(0, 0, 0)); // above 0x7f too
        QCOMPARE(colour(1), QColor(127, 0, 0));
        update(7500, 0x12, "ff");
        QVERIFY(!cell(1).isValid());
        update(7500, 0x12, "ff020003");
        QCOMPARE(cell(1).toString(), QStringLiteral("02"));
        QCOMPARE(colour(1), QColor(127, 0, 0)); // a shorter frame between does not count
        QCOMPARE(colour(2), QColor(0, 0, 0));   // a zero never seen before equals the fill
        QCOMPARE(colour(3), QColor(255, 0, 0));
    }

    void picturesEqualTheStockView()
    {
        for (int id = 0; id < 30; ++id) {
            update(id * 100, id * 77, QByteArray(2 * (id % 10), static_cast<char>('0' + id % 10)));
        }
        CandumpWindow window(model.get(), nullptr);
        QTableView stock;
        stock.setModel(model.get());
        auto* ours = window.findChild<QTableView*>("tableView");
        window.show();
        stock.resize(ours->size());
        // While bytes fade, after the clock ran back, and where texts wrap or are cut.
        for (const auto& [clockMs, columnWidth] : {std::pair{2900, 70}, {-5000, 70}, {2900, 21}}) {
            update(clockMs, 0x7ff, "");
            QVector<QImage> pictures;
            for (QTableView* view : {ours, &stock}) {
                view->horizontalHeader()->setDefaultSectionSize(columnWidth);
                view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
                const QImage picture = view->viewport()->grab().toImage();
                pictures << picture.convertToFormat(QImage::Format_RGB32);
            }
            QCOMPARE(pictures[0], pictures[1]);
        }
    }

    void burstsArePaintedTogetherAndTheLastFrameAlways()
    {
        CandumpWindow window(model.get(), nullptr);
        update(0, 1, "11");
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        PaintLog paints;
        window.findChild<QTableView*>("tableView")->viewport()->installEventFilter(&paints);
        constexpr int frames = 1000;
        for (int i = 1; i <= frames; ++i) {
            update(i, 1, i < frames ? "22" : "33");
            QCoreApplication::processEvents();
        }
        QVERIFY(paints.count < frames / 2);
        QTRY_COMPARE(paints.lastText, QStringLiteral("33"));
    }

    void blackTextStaysReadableOnADarkDesktop()
    {
        const QPalette palette = QApplication::palette();
        QApplication::setPalette(QPalette(Qt::black));
        CandumpWindow window(model.get(), nullptr);
        window.show();
        const auto* table = window.findChild<QTableView*>("tableView");
        const QImage picture = table->viewport()->grab().toImage();
        const QColor headerGround = table->horizontalHeader()->palette().color(QPalette::Base);
        QApplication::setPalette(palette);
        QCOMPARE(picture.pixelColor(picture.rect().center()), QColor(Qt::white));
        QVERIFY(headerGround != Qt::white); // its text is light there
    }
};

QTEST_MAIN(TestCandumpTable)
#include "tst_candumptable.moc"
