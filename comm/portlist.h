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
// the tty class directory first and enumerates when an entry there has come, gone or been made anew
// since the last call: a unit may be back as its bootloader under the same name. It also
// enumerates for two seconds after such a change, while the system still fills in the properties of
// a new port, and once a second in any case. Where the entries cannot be had, every call
// enumerates.
class PortList
{
public:
    // Where the facts come from; a test gives its own.
    struct Source
    {
        // Of all ttys, name and time of making, in any stable order; empty: unknown.
        std::function<QStringList()> entries;
        std::function<QList<QSerialPortInfo>()> ports;
        std::function<qint64()> milliseconds; // a clock that never goes back
    };

    static Source systemSource();

    explicit PortList(Source source = systemSource());

    // The ports in the order of QSerialPortInfo::availablePorts().
    QList<QSerialPortInfo> availablePorts();

private:
    Source source;
    QStringList entries;
    QList<QSerialPortInfo> ports;
    qint64 changedAt = 0;    // ms
    qint64 enumeratedAt = 0; // ms
};

} // namespace comm
