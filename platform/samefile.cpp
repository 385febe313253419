// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/samefile.h"

#include <sys/stat.h>

namespace platform {

// POSIX. Elsewhere the system has another identity of a file, such as Windows its file index.
bool isSameFile(int one, int other)
{
    struct stat first = {};
    struct stat second = {};
    return fstat(one, &first) == 0 && fstat(other, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

} // namespace platform
