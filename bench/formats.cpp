// SPDX-License-Identifier: GPL-3.0-or-later

// bench_formats: the text lines that are written for every record and every captured frame, against
// fills of patterns. Both roads must give the same bytes.
#include "bench/benchmark.h"
#include "formats/candumpline.h"
#include "formats/logline.h"

#include <QFile>
#include <QTemporaryDir>
#include <vector>

using namespace formats;

namespace {

constexpr int lines = 4'000; // short enough for a run that nothing disturbs
constexpr unsigned int channels = 128;

// Raw values of analogue inputs, both signs.
std::vector<int> recordValues()
{
    std::vector<int> values(channels);
    for (unsigned int channel = 0; channel < channels; ++channel) {
        values[channel] = static_cast<int>(channel * 2654435761U) >> 20;
    }
    return values;
}

struct Road
{
    double composed; // us a line
    double written;  // us a line, with one write and one flush each
    QByteArray bytes;
};

// Runs `lines` lines. compose takes the number of a line and gives its bytes.
template <typename Compose>
Road measure(Compose compose)
{
    const QTemporaryDir folder;
    QFile file(folder.filePath("lines"));
    std::size_t size = 0;
    const double composed = fastest([&] {
        for (int i = 0; i < lines; ++i) {
            size += static_cast<std::size_t>(compose(i).size());
        }
    });
    const double written = fastest([&] {
        if (size > 0 && file.open(QIODevice::WriteOnly)) {
            for (int i = 0; i < lines; ++i) {
                const auto& line = compose(i);
                file.write(line.data(), static_cast<qint64>(line.size()));
                file.flush();
            }
            file.close();
        }
    });
    file.open(QIODevice::ReadOnly);
    return {composed / lines * 1e6, written / lines * 1e6, file.readAll()};
}

void compare(
    Benchmark& bench, const QString& what, const Road& plain, const Road& ours, double timesWritten)
{
    const bool same = !plain.bytes.isEmpty() && plain.bytes == ours.bytes;
    bench.compare(what + " composed", "us", ours.composed, {{naiveRoad, plain.composed}}, 6, same);
    bench.compare(
        what + " composed, written and flushed", "us", ours.written, {{naiveRoad, plain.written}},
        timesWritten, same);
}

void measureLogLines(Benchmark& bench)
{
    const std::vector<int> values = recordValues();
    const Road plain = measure([&](int i) {
        QString line = QStringLiteral("%1;%2;").arg(i).arg(5'000'000 + i);
        for (const int value : values) {
            line.append(QStringLiteral("%1;").arg(value));
        }
        line.append(QStringLiteral("\n"));
        return line.toUtf8();
    });
    std::string line;
    const Road ours = measure([&](int i) -> const std::string& {
        const auto number = static_cast<unsigned int>(i);
        composeLogLine(line, number, 5'000'000U + number, values);
        return line;
    });
    compare(bench, "log line of 128 values", plain, ours, 6);
}

void measureCandumpLines(Benchmark& bench)
{
    const std::string payload("\x01\x02\xaa\x00\xff\x10\x99\x7f", 8);
    const Road plain = measure([&](int i) {
        return QStringLiteral("(%1) can%2 %3#%5%4\n")
            .arg(
                QString::number(i / 1000.0, 'f', 6), QString::number(1),
                QStringLiteral("%1").arg(i % 2048, 3, 16, QLatin1Char('0')),
                QString::fromLatin1(QByteArray::fromStdString(payload).toHex()), QString())
            .toUtf8();
    });
    std::string line;
    const Road ours = measure([&](int i) -> const std::string& {
        composeCandumpLine(line, 1, i, i % 2048, false, false, false, payload);
        return line;
    });
    compare(bench, "candump line", plain, ours, 0); // the flush costs most of it
}

} // namespace

int main()
{
    Benchmark bench;
    measureLogLines(bench);
    measureCandumpLines(bench);
    return bench.exitCode();
}
