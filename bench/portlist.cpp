// SPDX-License-Identifier: GPL-3.0-or-later

// bench_portlist: what the look for attached ports costs, ten times a second.
#include "bench/benchmark.h"
#include "comm/portdiscovery.h"

#include <QThread>

int main()
{
    comm::PortList list;
    const auto tick = [&list](int times) {
        for (int i = 0; i < times; ++i) {
            list.availablePorts();
            QThread::msleep(100);
        }
    };
    tick(25); // nothing settles any more
    const double watching = secondsOf([&] { tick(30); }, processTime) / 30;
    const double cheapest = fastest([&] { list.availablePorts(); });
    const double enumeration = fastest([] { QSerialPortInfo::availablePorts(); });
    figure("availablePorts()", 1e3 * enumeration, "ms");
    figure("tick of the port list without enumeration", 1e3 * cheapest, "ms");
    atMost("tick of the port list, on average", 1e3 * watching, 1, "ms");
    return exitCode();
}
