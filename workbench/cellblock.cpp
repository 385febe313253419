// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/cellblock.h"

#include <QVariant>

namespace workbench {

namespace {

// The first fields of a text. Unlike QString::split it makes no more of them than are asked for: a
// clipboard may hold millions.
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

QString toText(const CellBlock& cells)
{
    QString text;
    for (const QStringList& row : cells) {
        for (const QString& cell : row) {
            text += cell + QLatin1Char('\t');
        }
        text += QLatin1Char('\n');
    }
    return text;
}

QString toHtml(const CellBlock& cells)
{
    QString html = QStringLiteral("<!--StartFragment-->\n<table>");
    for (const QStringList& row : cells) {
        html += QLatin1String("<tr>\n");
        for (const QString& cell : row) {
            // A text always can be converted: this asks for the type, so that every cell is marked
            // as a number.
            const bool isNumber = QVariant(cell).canConvert(QVariant::Double);
            html += QLatin1String(isNumber ? "  <td x:num>" : "  <td>");
            html += cell + QLatin1String("</td>\n");
        }
        html += QLatin1String("</tr>\n");
    }
    return html + QLatin1String("</table><!--EndFragment-->\n");
}

CellBlock fromText(const QString& text, int mostRows, int mostColumns)
{
    CellBlock cells;
    for (const QString& line : firstFields(text, QLatin1Char('\n'), mostRows)) {
        cells << firstFields(line, QLatin1Char('\t'), mostColumns);
    }
    return cells;
}

} // namespace workbench
