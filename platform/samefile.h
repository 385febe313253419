// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

// Whether two descriptors are open on one file, by whatever names and links. False if one is not
// open.
bool isSameFile(int one, int other);

} // namespace platform
