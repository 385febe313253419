// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

// Prints size bytes from data to standard output: offset, 16 bytes in hexadecimal, and their
// printable characters, a line for each 16 bytes. For diagnosis only.
void hexdump(const void* data, std::size_t size);
