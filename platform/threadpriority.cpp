// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/threadpriority.h"

#include <sys/resource.h>

namespace platform {

// Linux alone gives each thread a niceness of its own; elsewhere this call would slow the whole
// program. Another system needs its own call for the priority of a thread.
void yieldToOtherThreads()
{
    constexpr int niceness = 10;
    setpriority(PRIO_PROCESS, 0, niceness);
}

} // namespace platform
