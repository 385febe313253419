// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portlist.h"

#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <utility>

namespace comm {

namespace {

constexpr qint64 settlingTime = 2000; // ms
constexpr qint64 longestTrust = 1000; // ms

QStringList ttyEntries()
{
    // These are most of the entries, and there for good.
    static const QRegularExpression console(QStringLiteral("^tty[0-9]"));
    const QDir folder(QStringLiteral("/sys/class/tty"));
    QStringList entries =
        folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (QString& entry : entries) {
        if (!entry.contains(console)) {
            const QFileInfo info(folder, entry);
            const QDateTime made = info.fileTime(QFile::FileMetadataChangeTime);
            entry += ' ' + QString::number(made.toMSecsSinceEpoch());
        }
    }
    return entries;
}

} // namespace

PortList::Source PortList::systemSource()
{
    QElapsedTimer clock;
    clock.start();
    return {ttyEntries, &QSerialPortInfo::availablePorts, [clock] { return clock.elapsed(); }};
}

PortList::PortList(Source facts)
    : source(std::move(facts))
{}

QList<QSerialPortInfo> PortList::availablePorts()
{
    const qint64 now = source.milliseconds();
    // Ahead of the ports: what changes in between differs at the next call.
    QStringList current = source.entries();
    if (current != entries) {
        entries = std::move(current);
        changedAt = now;
    }
    const bool settling = now - changedAt <= settlingTime;
    if (entries.isEmpty() || settling || now - enumeratedAt >= longestTrust) {
        ports = source.ports();
        enumeratedAt = now;
    }
    return ports;
}

} // namespace comm
