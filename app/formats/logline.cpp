// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/logline.h"

#include "formats/numbertext.h"

namespace formats {

QByteArray logHeaderLine(const QVector<QString>& labels)
{
    QString line = QStringLiteral("#;timestamp;");
    for (const QString& label : labels) {
        line += label + QLatin1Char(';');
    }
    line += QLatin1Char('\n');
    return line.toUtf8();
}

void composeLogLine(
    std::string& line, unsigned int sampleNumber, unsigned int timestamp,
    const std::vector<int>& values)
{
    line.resize((2 + values.size()) * (MaxDecimalLength + 1) + 1);
    char* out = line.data();
    out = putDecimal(out, sampleNumber);
    *out++ = ';';
    out = putDecimal(out, timestamp);
    *out++ = ';';
    for (const int value : values) {
        out = putDecimal(out, value);
        *out++ = ';';
    }
    *out++ = '\n';
    line.resize(static_cast<std::size_t>(out - line.data()));
}

QByteArray logTagLine(int timestamp, const QString& text)
{
    return QStringLiteral("$;%1;%2\n").arg(timestamp).arg(text).toUtf8();
}

} // namespace formats
