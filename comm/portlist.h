// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QSerialPortInfo>
#include <QStringList>
#include <functional>

namespace comm {

// The attached serial ports, cheap enough to be asked for ten times a second on the GUI thread.
//
// QSerialPortInfo::availablePorts() takes about 0.1 ms for each tty of the machine. This looks at
// the names in the tty class directory first and enumerates when they differ from those of the last
// call, so that a port that comes or goes is seen by the next call. It also enumerates for two
// seconds after such a change, while the system still fills in the properties of a new port, and
// once a second in any case. Where the names cannot be had, every call enumerates.
class PortList
{
public:
    // Where the facts come from; a test gives its own.
    struct Source
    {
        std::function<QStringList()> names; // of all ttys, in any stable order; empty: unknown
        std::function<QList<QSerialPortInfo>()> ports;
        std::function<qint64()> milliseconds; // a clock that never goes back
    };

    static Source systemSource();

    explicit PortList(Source source = systemSource());

    // The ports in the order of QSerialPortInfo::availablePorts().
    QList<QSerialPortInfo> availablePorts();

private:
    Source source;
    QStringList names;
    QList<QSerialPortInfo> ports;
    qint64 changedAt = 0;    // ms
    qint64 enumeratedAt = 0; // ms
};

} // namespace comm
