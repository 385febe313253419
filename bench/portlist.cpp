// SPDX-License-Identifier: GPL-3.0-or-later

// bench_portlist: what the look for attached ports costs, ten times a second.
#include "bench/benchmark.h"
#include "comm/portdiscovery.h"

int main()
{
    constexpr int ticks = 30;
    const double enumeration = fastest([] { QSerialPortInfo::availablePorts(); });
    qint64 now = 0;
    comm::PortSource source;
    source.milliseconds = [&now] { return now; };
    comm::PortList list(source);
    list.availablePorts();
    now += 3000; // nothing settles any more
    const double watching = fastest([&] {
        for (int tick = 0; tick < ticks; ++tick) {
            now += 100;
            list.availablePorts();
        }
    });
    const double entries = fastest([&] { source.entries(); });
    figure("availablePorts()", enumeration * 1e3, "ms");
    figure("tick of the port list without enumeration", entries * 1e3, "ms");
    atMost("tick of the port list, on average", watching / ticks * 1e3, 1.0, "ms");
    return exitCode();
}
