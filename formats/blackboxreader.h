// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

class QIODevice;

namespace formats {

class TraceImport;

// The controller's black-box record. The numbers of inputs and outputs of the whole file are those
// of its first log record. What cannot be parsed leaves what was read up to there. The file is read
// anew for what it gives out, so that one of any size takes no memory.
class BlackboxRecord
{
public:
    // Counts what is on the device, which has to outlive the record; one that is not open reads as
    // empty.
    explicit BlackboxRecord(QIODevice& source);

    // Counts, and whether the reading came to the end of the device.
    const QString& statusText() const { return status; }

    // Controller time of the first log record in ms; 0 without one.
    int firstTimestamp() const { return firstTime; }

    // Without log records there is nothing to draw.
    bool hasLog() const { return recordCount > 0; }

    // Inputs, behind them outputs, as far as the chart has channels.
    QStringList channelTexts() const;

    // Gives out the CAN frames, of each at most 8 bytes; frameTime is controller time in s. Each is
    // also converted, its time divided by 1000 once more, on purpose: that is how these files are.
    void readFrames(TraceImport& import) const;

    // Gives out the log records: controller time in ms, and values from a channel on. A record that
    // lacks inputs comes in two parts.
    void readRecords(
        const std::function<void(int timestamp, int firstChannel, const std::vector<int>& values)>&
            take) const;

private:
    template <typename Take>
    void readAgain(int wanted, Take take) const; // elements of this field

    QIODevice& device;
    QString status;
    qint64 recordCount = 0;
    int firstTime = 0;
    int inputCount = 0; // of those that have a channel
    int outputCount = 0;
};

} // namespace formats
