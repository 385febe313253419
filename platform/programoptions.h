// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace platform {

// Answers "--help" and "--version" on standard output, for which no display is needed, and tells
// whether it did: the program then ends. Sets the version of the application, and no other name of
// it: settings and titles would change.
bool answerOptions(int argc, char* argv[], const char* name, const char* purpose);

} // namespace platform
