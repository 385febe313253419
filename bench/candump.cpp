// SPDX-License-Identifier: GPL-3.0-or-later

// bench_candump: captured frames to the open table, to the file and to a status text, against a
// table that looks its rows up in a map for every question and repaints for every frame. The frames
// come in passes of the event loop, as many a pass as one read of the line brings.
#include "bench/benchmark.h"
#include "capture/candumpviewmodel.h"
#include "capture/candumpwindow.h"
#include "formats/candumpline.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QTableView>
#include <QTemporaryDir>
#include <memory>

using namespace formats;

namespace {

constexpr int identifiers = 300;
constexpr int manyIdentifiers = 100'000;
constexpr int framesPerRead = 128;

QString hexText(int value, int width, char fill)
{
    return QStringLiteral("%1").arg(value, width, 16, QLatin1Char(fill));
}

// The plain table: the sorted keys are listed anew for every call.
class PlainModel : public QAbstractTableModel
{
public:
    int rowCount(const QModelIndex& = QModelIndex()) const override { return frames.keys().size(); }
    int columnCount(const QModelIndex& = QModelIndex()) const override { return 11; }

    QVariant data(const QModelIndex& index, int role) const override
    {
        const Frame& frame = frames[frames.keys()[index.row()]];
        const int column = index.column();
        if (role == Qt::TextAlignmentRole) {
            return static_cast<int>(
                (column < 8 ? Qt::AlignHCenter : Qt::AlignLeft) | Qt::AlignVCenter);
        }
        if (role == Qt::ForegroundRole) {
            const double age = column < 8 ? time - frame.changedAt[column] : 4.0;
            return QColor(age > 3.0 ? 0 : static_cast<int>((3.0 - age) / 3.0 * 255.0), 0, 0);
        }
        if (role != Qt::DisplayRole || (column < 8 && column >= frame.payload.size())) {
            return QVariant();
        }
        switch (column) {
        case 8:
            return QString::number(frame.payload.size());
        case 9:
            return QStringLiteral("CAN%1").arg(1);
        case 10:
            return QString::number(frame.lastSeen, 'f', 3);
        default:
            return hexText(static_cast<unsigned char>(frame.payload[column]), 2, '0');
        }
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (role != Qt::DisplayRole || orientation == Qt::Horizontal) {
            return QVariant();
        }
        return "0x" + hexText(frames.keys()[section], 3, '0');
    }

    Qt::ItemFlags flags(const QModelIndex&) const override { return Qt::NoItemFlags; }

    void updateFrame(int timestampMs, int canId, const std::string& bytes)
    {
        const QList<int> keys = frames.keys();
        const int row = keys.indexOf(canId);
        time = timestampMs / 1000.0;
        if (row < 0) {
            int place = 0;
            while (place < keys.size() && keys[place] < canId) {
                ++place;
            }
            beginInsertRows(QModelIndex(), place, place);
        }
        Frame& frame = frames[canId];
        for (int i = 0; i < static_cast<int>(bytes.size()); ++i) {
            if (row < 0 || frame.payload[i] != bytes[static_cast<std::size_t>(i)]) {
                frame.changedAt[i] = time;
            }
        }
        frame.payload = QByteArray::fromStdString(bytes);
        frame.lastSeen = time;
        if (row < 0) {
            endInsertRows();
        } else {
            emit dataChanged(index(row, 0), index(row, columnCount()), {0, 9});
        }
    }

private:
    struct Frame
    {
        QByteArray payload;
        double changedAt[8] = {};
        double lastSeen = 0;
    };

    QMap<int, Frame> frames;
    double time = 0;
};

struct Result
{
    double framesPerSecond;
    double longestPassMs; // between two turns of the event loop
};

// Frames with changing bytes, identifiers mixed, from a clock of 10 frames a millisecond.
template <typename Take>
Result run(int frames, int framesPerPass, int ids, Take take)
{
    std::string payload(8, '\0');
    QElapsedTimer whole;
    whole.start();
    qint64 longest = 0;
    for (int first = 0; first < frames; first += framesPerPass) {
        QElapsedTimer pass;
        pass.start();
        const int end = std::min(frames, first + framesPerPass);
        for (int i = first; i < end; ++i) {
            payload[static_cast<std::size_t>(i % 8)] = static_cast<char>(i);
            take(i / 10, static_cast<int>(i * 7919LL % ids) * 3, payload);
        }
        QCoreApplication::processEvents();
        longest = std::max(longest, pass.nsecsElapsed());
    }
    const double seconds = static_cast<double>(whole.nsecsElapsed()) / 1e9;
    return {frames / seconds, static_cast<double>(longest) / 1e6};
}

// The best of three: what disturbs a run only ever makes it slower.
template <typename Run>
Result best(Run oneRun)
{
    Result result = oneRun();
    for (int again = 0; again < 2; ++again) {
        const Result next = oneRun();
        result.framesPerSecond = std::max(result.framesPerSecond, next.framesPerSecond);
        result.longestPassMs = std::min(result.longestPassMs, next.longestPassMs);
    }
    return result;
}

QByteArray contents(const QTemporaryDir& folder, const char* name)
{
    QFile file(folder.filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Result plainRoad(const QTemporaryDir& folder, int frames, int framesPerPass)
{
    PlainModel model;
    QTableView view;
    view.setModel(&model);
    view.resize(868, 550);
    view.show();
    QFile file(folder.filePath("plain"));
    file.open(QIODevice::WriteOnly);
    const auto take = [&](int ms, int id, const std::string& payload) {
        model.updateFrame(ms, id, payload);
        file.write(
            QStringLiteral("(%1) can%2 %3#%5%4\n")
                .arg(
                    QString::number(ms / 1000.0, 'f', 6), QString::number(1), hexText(id, 3, '0'),
                    QString::fromLatin1(QByteArray::fromStdString(payload).toHex()), QString())
                .toUtf8());
        file.flush();
        return QStringLiteral("Received can%2 frame #%1").arg(hexText(id, 3, ' ')).arg(1);
    };
    run(identifiers, framesPerRead, identifiers, take); // all rows are there
    return run(frames, framesPerPass, identifiers, take);
}

Result ourRoad(const QTemporaryDir& folder, int frames, int framesPerPass)
{
    CandumpViewModel model;
    CandumpWindow window(&model, nullptr);
    window.show();
    QFile file(folder.filePath("ours"));
    file.open(QIODevice::WriteOnly);
    std::string line;
    const auto take = [&](int ms, int id, const std::string& payload) {
        model.updateFrame(1, ms, id, false, false, false, payload);
        composeCandumpLine(line, 1, ms, id, false, false, false, payload);
        file.write(line.data(), static_cast<qint64>(line.size()));
        file.flush();
        return candumpStatusText(id, 1);
    };
    run(identifiers, framesPerRead, identifiers, take);
    return run(frames, framesPerPass, identifiers, take);
}

void measureRoads(Benchmark& bench)
{
    const QTemporaryDir folder;
    constexpr int few = 640;
    const QString unit = QStringLiteral("frames/s");
    const Result plain = best([&] { return plainRoad(folder, few, 1); });
    const Result ours = best([&] { return ourRoad(folder, few, 1); });
    const bool same = contents(folder, "plain") == contents(folder, "ours");
    bench.compare(
        "captured frames, one a read", unit, ours.framesPerSecond,
        {{naiveRoad, plain.framesPerSecond}}, 0, same);

    const Result plainFlood = best([&] { return plainRoad(folder, 20 * few, framesPerRead); });
    const Result flood = best([&] { return ourRoad(folder, 200 * few, framesPerRead); });
    bench.compare(
        QStringLiteral("captured frames, %1 a read").arg(framesPerRead), unit,
        flood.framesPerSecond, {{naiveRoad, plainFlood.framesPerSecond}}, 5);
    bench.atLeast("flood: our table", flood.framesPerSecond, 100'000, unit);
    bench.atMost("flood: event loop silent for", flood.longestPassMs, 20, "ms");
}

void measureManyIdentifiers(Benchmark& bench)
{
    std::unique_ptr<CandumpViewModel> model;
    std::unique_ptr<CandumpWindow> window;
    const auto fillOnce = [&] {
        return run(
            manyIdentifiers, framesPerRead, manyIdentifiers,
            [&](int ms, int id, const std::string& payload) {
                model->updateFrame(1, ms, id, true, false, false, payload);
            });
    };
    const Result inserting = best([&] {
        window.reset();
        model = std::make_unique<CandumpViewModel>();
        window = std::make_unique<CandumpWindow>(model.get(), nullptr);
        window->show();
        return fillOnce();
    });
    const Result updating = best(fillOnce);
    bench.atLeast("100,000 new identifiers", inserting.framesPerSecond, 10'000, "frames/s");
    bench.figure("  event loop silent for", inserting.longestPassMs, "ms");
    bench.atLeast("then frames of all of them", updating.framesPerSecond, 100'000, "frames/s");
    bench.atMost("  event loop silent for", updating.longestPassMs, 20, "ms");
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication application(argc, argv);
    Benchmark bench;
    measureRoads(bench);
    measureManyIdentifiers(bench);
    return bench.exitCode();
}
