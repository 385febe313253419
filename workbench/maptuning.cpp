// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/maptuning.h"

#include "comm/commandssender.h"
#include "platform/diagnostics.h"
#include "ui_maptuning.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeySequence>
#include <QMimeData>
#include <QShortcut>
#include <QStyledItemDelegate>
#include <utility>

namespace {

// Shows no more of a cell's text than fits on a screen. To lay out the megabytes that a paste may
// leave in a cell takes seconds, at every painting.
class CellDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale& locale) const override
    {
        constexpr int mostShown = 1000; // characters
        return QStyledItemDelegate::displayText(value, locale).left(mostShown);
    }
};

// Spreadsheets have a minus sign and spaces of their own, which QString::toInt of Qt 6 does not
// take.
int numberIn(const QTableWidgetItem& item, bool* isNumber = nullptr)
{
    const QString text = item.text().replace(QChar(0x2212), QLatin1Char('-'));
    return text.trimmed().toInt(isNumber);
}

// The first fields of a text, the empty ones too. Unlike QString::split it makes no more of them
// than are asked for: a clipboard may hold millions.
QStringList firstFields(const QString& text, QChar separator, int most)
{
    QStringList fields;
    int start = 0;
    while (fields.size() < most) {
        const int end = text.indexOf(separator, start);
        if (end < 0) {
            fields << text.mid(start);
            break;
        }
        fields << text.mid(start, end - start);
        start = end + 1;
    }
    return fields;
}

} // namespace

MapTuning::MapTuning(unsigned int id, CommandsSender* sender, QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::MapTuning>())
    , mapId(id)
    , commandsSender(sender)
{
    ui->setupUi(this);
    ui->mapValues->setItemDelegate(new CellDelegate(this));
    setWindowTitle(QStringLiteral("Map ID: %1").arg(mapId));
    commandsSender->sendMapTunerGetMapDetails(mapId);
    const std::pair<const char*, void (MapTuning::*)()> shortcuts[] = {
        {"p", &MapTuning::mapValues_increaseValues},
        {"l", &MapTuning::mapValues_decreaseValues},
        {"Ctrl+C", &MapTuning::mapValues_copy},
        {"Ctrl+V", &MapTuning::mapValues_paste},
    };
    for (const auto& [keys, slot] : shortcuts) {
        auto* shortcut = new QShortcut(QKeySequence(QLatin1String(keys)), ui->mapValues);
        shortcut->setContext(Qt::WindowShortcut); // in a workspace: the active sub-window alone
        connect(shortcut, &QShortcut::activated, this, slot);
    }
}

MapTuning::~MapTuning() = default;

void MapTuning::updateMapByParameters(unsigned int newXSize, unsigned int newYSize)
{
    constexpr unsigned int most = 1024; // more than any controller has
    if (newXSize > most || newYSize > most) {
        platform::printLine("Refused size of map ", mapId, ": x: ", newXSize, " y: ", newYSize);
        return;
    }
    xSize = newXSize;
    ySize = newYSize;
    ui->mapValues->setColumnCount(static_cast<int>(xSize) + 1);
    ui->mapValues->setRowCount(static_cast<int>(ySize) + 1);
    commandsSender->sendMapTunerGetMap(mapId);
}

// Nothing blocks the table's signals, on purpose: each item set here goes back to the controller.
void MapTuning::mapTuningMap(std::vector<int>&& x, std::vector<int>&& y, std::vector<int>&& values)
{
    platform::printLine("Received map data: x: ", x.size(), " y: ", y.size());
    for (unsigned int i = 0; i < xSize && i < x.size(); ++i) {
        platform::printLine("x[", i, "] = ", x[i]);
        setNumber(0, static_cast<int>(i) + 1, x[i]);
    }
    for (unsigned int j = 0; j < ySize && j < y.size(); ++j) {
        platform::printLine("y[", j, "] = ", y[j]);
        setNumber(static_cast<int>(j) + 1, 0, y[j]);
    }
    for (unsigned int i = 0; i < xSize; ++i) {
        for (unsigned int j = 0; j < ySize; ++j) {
            const std::size_t index = std::size_t(xSize) * j + i;
            if (index < values.size()) {
                platform::printLine("v[", i, ", ", j, "] = ", values[index]);
                setNumber(static_cast<int>(j) + 1, static_cast<int>(i) + 1, values[index]);
            }
        }
    }
}

void MapTuning::setNumber(int row, int column, int value)
{
    ui->mapValues->setItem(row, column, new QTableWidgetItem(QString::number(value)));
}

void MapTuning::on_mapValues_cellChanged(int row, int column)
{
    const QTableWidgetItem* item = ui->mapValues->item(row, column);
    if (!item) {
        return;
    }
    const int value = numberIn(*item);
    const auto xId = static_cast<unsigned int>(column - 1);
    const auto yId = static_cast<unsigned int>(row - 1);
    // Row 0 comes first: the corner counts as the X label before the first, 4,294,967,295.
    if (row == 0) {
        commandsSender->sendMapTunerSetMapLabel(mapId, CommandsSender::MapAxis::X, xId, value);
    } else if (column != 0) {
        commandsSender->sendMapTunerSetMapValue(mapId, xId, yId, value);
    } else {
        commandsSender->sendMapTunerSetMapLabel(mapId, CommandsSender::MapAxis::Y, yId, value);
    }
}

void MapTuning::onLabelXChanged(int value)
{
    const int id = labelXIds[sender()];
    platform::printLine("xLabelId = ", id);
    commandsSender->sendMapTunerSetMapLabel(
        mapId, CommandsSender::MapAxis::X, static_cast<unsigned int>(id), value);
}

void MapTuning::onLabelYChanged(int value)
{
    const int id = labelYIds[sender()];
    platform::printLine("yLabelId = ", id);
    commandsSender->sendMapTunerSetMapLabel(
        mapId, CommandsSender::MapAxis::Y, static_cast<unsigned int>(id), value);
}

void MapTuning::onValueChanged(int value)
{
    const int xId = valueXIds[sender()];
    const int yId = valueYIds[sender()];
    platform::printLine("xId = ", xId);
    platform::printLine("yId = ", yId);
    commandsSender->sendMapTunerSetMapValue(
        mapId, static_cast<unsigned int>(xId), static_cast<unsigned int>(yId), value);
}

// Adds step to every number in the rectangle, labels included; the sum wraps at 32 bits.
void MapTuning::stepValues(unsigned int step)
{
    const QRect cells = selectedRectangle();
    for (int row = cells.top(); row <= cells.bottom(); ++row) {
        for (int column = cells.left(); column <= cells.right(); ++column) {
            QTableWidgetItem* item = ui->mapValues->item(row, column);
            bool isNumber = false;
            const int value = item ? numberIn(*item, &isNumber) : 0;
            if (isNumber) {
                const auto sum = static_cast<int>(static_cast<unsigned int>(value) + step);
                item->setText(QString::number(sum));
            }
        }
    }
}

QRect MapTuning::selectedRectangle() const
{
    QRect rectangle;
    const QModelIndexList indexes = ui->mapValues->selectionModel()->selection().indexes();
    for (const QModelIndex& index : indexes) {
        rectangle |= QRect(index.column(), index.row(), 1, 1);
    }
    return rectangle;
}

// Two forms: tab-separated text, nothing quoted, and the table that spreadsheets exchange as HTML.
// In the text a tab follows every cell and a line feed every row, the last ones too; read back, it
// has one more, empty, field in each row and one more, empty, row.
void MapTuning::mapValues_copy()
{
    const QRect cells = selectedRectangle();
    if (cells.isEmpty()) {
        return;
    }
    QString text;
    QString html = QStringLiteral("<!--StartFragment-->\n<table>");
    for (int row = cells.top(); row <= cells.bottom(); ++row) {
        html += QLatin1String("<tr>\n");
        for (int column = cells.left(); column <= cells.right(); ++column) {
            const QTableWidgetItem* item = ui->mapValues->item(row, column);
            const QString cell = item ? item->text() : QString();
            // A text always can be converted: this asks for the type, so that every cell is marked
            // as a number.
            const bool isNumber = QVariant(cell).canConvert<double>();
            html += QLatin1String(isNumber ? "  <td x:num>" : "  <td>");
            html += cell + QLatin1String("</td>\n");
            text += cell + QLatin1Char('\t');
        }
        html += QLatin1String("</tr>\n");
        text += QLatin1Char('\n');
    }
    // The text replaces the table that was put there a moment before: other programs get the text.
    auto* table = new QMimeData;
    table->setHtml(html + QLatin1String("</table><!--EndFragment-->\n"));
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setMimeData(table);
    clipboard->setText(text);
}

// A carriage return stays in the last field of its line.
void MapTuning::mapValues_paste()
{
    const QString text = QGuiApplication::clipboard()->text();
    const QRect cells = selectedRectangle();
    if (cells.isEmpty()) {
        return;
    }
    int row = cells.top();
    for (const QString& line : firstFields(text, QLatin1Char('\n'), cells.height())) {
        int column = cells.left();
        for (const QString& field : firstFields(line, QLatin1Char('\t'), cells.width())) {
            if (!ui->mapValues->item(row, column)) {
                // Sends a 0 of its own, also where the field is empty.
                ui->mapValues->setItem(row, column, new QTableWidgetItem);
            }
            ui->mapValues->item(row, column)->setText(field);
            ++column;
        }
        ++row;
    }
}
