// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

// Lets the calling thread have the processor only when the others of the program leave it, for
// good.
void yieldToOtherThreads();

} // namespace platform
