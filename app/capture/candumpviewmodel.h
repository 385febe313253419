// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QList>
#include <QTimer>
#include <array>
#include <memory>
#include <string>
#include <vector>

// The newest frame of one CAN identifier, with the moments at which its bytes changed. Times are
// controller time in seconds.
struct CanbusFrameData
{
    static constexpr int Capacity = 64; // bytes of a CAN FD frame

    std::array<unsigned char, Capacity> payload; // behind dlc: what a longer frame left
    std::array<double, Capacity> changedAt;      // the byte last took a new value
    double lastSeen;
    int busNumber;
    int dlc; // bytes of the newest frame as it came, not a DLC code; may exceed Capacity
    bool isExtended;
    bool isFd;
    bool isBitrateSwitch;
};

// The newest frame of every CAN identifier seen since the start, a row each in ascending order of
// the signed identifier. Bytes that changed are red and fade to black within three seconds of
// controller time: the clock is that of the frames and stands still without them. Rows are never
// removed.
//
// No Q_OBJECT, on purpose: to Qt this is a plain QAbstractTableModel.
class CandumpViewModel : public QAbstractTableModel
{
public:
    CandumpViewModel();
    ~CandumpViewModel() override = default;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex&, const QVariant&, int = Qt::EditRole) override { return true; }
    QVariant headerData(
        int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex&) const override { return Qt::NoItemFlags; }

    void refreshColours();

    // Takes one frame over, timestampMs in controller time. The first 64 bytes of frameData are
    // kept; the table shows the length as it came.
    void updateFrame(
        int busNumber, int timestampMs, int canId, bool isExtended, bool isFd, bool isBitrateSwitch,
        const std::string& frameData);

private:
    struct Row
    {
        int canId;
        std::unique_ptr<CanbusFrameData> frame;
    };

    QVariant displayText(const CanbusFrameData& frame, int column) const;
    QColor textColour(const CanbusFrameData& frame, int column) const;

    std::vector<Row> framesById; // sorted by canId
    QList<QString> columnHeaders;
    QTimer colourTimer;
    double modelTime = 0; // s, of the newest frame of all
};
