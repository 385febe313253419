// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

// From now on SIGINT, SIGTERM and SIGHUP close all windows of the application as their close
// buttons do, dialogs first, and end the program: all is stored, ports are left, the exit status is
// 0. A file that is being read is read to its end before. A signal that is ignored when the program
// starts, as under nohup, stays ignored.
void watchEndRequests();

} // namespace platform
