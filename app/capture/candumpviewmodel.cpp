// SPDX-License-Identifier: GPL-3.0-or-later
#include "capture/candumpviewmodel.h"

#include <algorithm>

namespace {

enum Column { DlcColumn = 8, BusColumn, TimeColumn };

constexpr int ByteColumns = 8;
constexpr int ColourTimerMs = 50;
constexpr double FadeSeconds = 3.0;

} // namespace

CandumpViewModel::CandumpViewModel()
{
    for (int i = 0; i < ByteColumns; ++i) {
        columnHeaders.append(QStringLiteral("B%1").arg(i));
    }
    columnHeaders << QStringLiteral("DLC") << QStringLiteral("CAN") << QStringLiteral("Time");

    // Fails with a warning of Qt, on purpose: without a meta-object of its own the class has no
    // such slot. Fading needs no timer, since its clock moves with the frames only.
    colourTimer.setInterval(ColourTimerMs);
    connect(&colourTimer, SIGNAL(timeout()), this, SLOT(refreshColours()));
    colourTimer.start();
}

int CandumpViewModel::rowCount(const QModelIndex&) const
{
    return static_cast<int>(framesById.size());
}

int CandumpViewModel::columnCount(const QModelIndex&) const
{
    return columnHeaders.size();
}

QVariant CandumpViewModel::data(const QModelIndex& index, int role) const
{
    if (index.row() < 0 || index.row() >= rowCount()) {
        return QVariant();
    }
    const CanbusFrameData& frame = *framesById[static_cast<std::size_t>(index.row())].frame;
    switch (role) {
    case Qt::DisplayRole:
        return displayText(frame, index.column());
    case Qt::TextAlignmentRole:
        return static_cast<int>(
            (index.column() < ByteColumns ? Qt::AlignHCenter : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::ForegroundRole:
        return textColour(frame, index.column());
    default:
        return QVariant();
    }
}

QVariant CandumpViewModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const int count = orientation == Qt::Horizontal ? columnCount() : rowCount();
    if (role != Qt::DisplayRole || section < 0 || section >= count) {
        return QVariant();
    }
    if (orientation == Qt::Horizontal) {
        return columnHeaders[section];
    }
    const int canId = framesById[static_cast<std::size_t>(section)].canId;
    return QStringLiteral("0x%1").arg(static_cast<quint64>(canId), 3, 16, QLatin1Char('0'));
}

// Here and in updateFrame the bottom right index lies one column past the last, on purpose: it is
// invalid, and views take that for a change of everything. Every row fades with every frame.
void CandumpViewModel::refreshColours()
{
    emit dataChanged(index(0, 0), index(rowCount(), columnCount()), {Qt::ForegroundRole});
}

void CandumpViewModel::updateFrame(
    int busNumber, int timestampMs, int canId, bool isExtended, bool isFd, bool isBitrateSwitch,
    const std::string& frameData)
{
    modelTime = timestampMs / 1000.0;

    const auto place =
        std::lower_bound(framesById.begin(), framesById.end(), canId, [](const Row& row, int id) {
            return row.canId < id;
        });
    const auto row = static_cast<int>(place - framesById.begin());
    const bool isNew = place == framesById.end() || place->canId != canId;
    auto created = isNew ? std::make_unique<CanbusFrameData>() : nullptr;

    CanbusFrameData& frame = isNew ? *created : *place->frame;
    const std::size_t kept = std::min(frameData.size(), frame.payload.size());
    for (std::size_t i = 0; i < kept; ++i) {
        const auto byte = static_cast<unsigned char>(frameData[i]);
        if (isNew || frame.payload[i] != byte) {
            frame.changedAt[i] = modelTime;
            frame.payload[i] = byte;
        }
    }
    frame.lastSeen = modelTime;
    frame.busNumber = busNumber;
    frame.dlc = static_cast<int>(frameData.size());
    frame.isExtended = isExtended;
    frame.isFd = isFd;
    frame.isBitrateSwitch = isBitrateSwitch;

    if (isNew) {
        beginInsertRows(QModelIndex(), row, row);
        framesById.insert(place, {canId, std::move(created)});
        endInsertRows();
    } else {
        static const QVector<int> roles = {Qt::DisplayRole, Qt::ForegroundRole};
        emit dataChanged(index(row, 0), index(row, columnCount()), roles);
    }
}

QVariant CandumpViewModel::displayText(const CanbusFrameData& frame, int column) const
{
    switch (column) {
    case DlcColumn:
        return QString::number(frame.dlc);
    case BusColumn:
        return QStringLiteral("CAN%1").arg(frame.busNumber);
    case TimeColumn:
        return QString::number(frame.lastSeen, 'f', 3);
    default:
        break;
    }
    if (column < 0 || column >= std::min(frame.dlc, ByteColumns)) {
        return QVariant();
    }
    const int byte = frame.payload[static_cast<std::size_t>(column)];
    return QStringLiteral("%1").arg(byte, 2, 16, QLatin1Char('0'));
}

QColor CandumpViewModel::textColour(const CanbusFrameData& frame, int column) const
{
    if (column < 0 || column >= ByteColumns) {
        return QColor(0, 0, 0);
    }
    const double age = modelTime - frame.changedAt[static_cast<std::size_t>(column)];
    // A clock that ran back makes a red above 255 and so an invalid colour, which paints black.
    const double red = age > FadeSeconds ? 0.0 : (FadeSeconds - age) / FadeSeconds * 255.0;
    return QColor(static_cast<int>(red), 0, 0);
}
