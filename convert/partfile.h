// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "convert/report.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace convert {

// False with errno.
bool writeAll(int fd, std::string_view bytes);

// A file that is there whole or not at all: written as "<path>.<random>.part" and renamed when it
// is complete. What is no regular file, such as a pipe, is written to directly. All operations
// throw ConversionError.
class PartFile
{
public:
    // "-" is standard output. Without `replaces` a file that is there is left alone. One that is
    // replaced keeps its mode, and if it is a symbolic link its place.
    PartFile(const std::string& path, bool replaces);
    // Removes what was not committed.
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // For a library that opens the file again by its path.
    const std::string& writtenPath() const { return partPath; }

    void write(std::string_view bytes);                       // behind the bytes before
    void writeAt(std::int64_t place, std::string_view bytes); // not into a pipe
    [[noreturn]] void fail() const;                           // by errno
    void commit();

    // From now on a signal to quit removes the part files of all threads before it ends the
    // program, by itself, so that a shell's loop ends as well; one that is ignored, as under nohup,
    // stays so. To be called ahead of other threads, which then leave the signals to this one.
    static void watchSignals();

private:
    std::string target;
    std::string partPath;
    const bool mayReplace;
    int fd = -1;
    bool isPart = false; // there is something to rename
    mode_t keptMode = 0; // of the file to be replaced
};

} // namespace convert
