// SPDX-License-Identifier: GPL-3.0-or-later
#include "comm/portlist.h"

#include <QDir>
#include <QElapsedTimer>
#include <utility>

namespace comm {

namespace {

constexpr qint64 settlingTime = 2000; // ms
constexpr qint64 longestTrust = 1000; // ms

QStringList ttyNames()
{
    return QDir(QStringLiteral("/sys/class/tty"))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Unsorted);
}

std::function<qint64()> stopwatch()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

} // namespace

PortList::Source PortList::systemSource()
{
    return Source{ttyNames, &QSerialPortInfo::availablePorts, stopwatch()};
}

PortList::PortList(Source facts)
    : source(std::move(facts))
{}

QList<QSerialPortInfo> PortList::availablePorts()
{
    const qint64 now = source.milliseconds();
    // The names before the ports: what changes in between differs at the next call.
    QStringList current = source.names();
    if (current != names) {
        names = std::move(current);
        changedAt = now;
    }
    const bool settling = now - changedAt <= settlingTime;
    if (names.isEmpty() || settling || now - enumeratedAt >= longestTrust) {
        ports = source.ports();
        enumeratedAt = now;
    }
    return ports;
}

} // namespace comm
