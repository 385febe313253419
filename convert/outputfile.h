// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace convert {

// A file that is there whole or not at all: written as "<path>.<random>.part" and renamed when it
// is complete. What is no regular file, such as a pipe, is written to directly. All operations
// throw ConversionError.
class PartFile
{
public:
    // "-" is standard output. Without `replaces` a file that is there is left alone.
    PartFile(std::string targetPath, bool replaces);
    // Removes what was not committed.
    ~PartFile();
    PartFile(const PartFile&) = delete;
    PartFile& operator=(const PartFile&) = delete;

    // Where to write; a library that wants a path may open the file again.
    int descriptor() const { return fd; }
    const std::string& writtenPath() const { return partPath; }

    [[noreturn]] void fail() const; // by errno
    void commit();

    // Removes the part files of all threads, for a program that is asked to quit.
    static void removeAll();

private:
    const std::string target;
    std::string partPath;
    const bool mayReplace;
    int fd = -1;
    bool isPart = false; // there is something to rename
};

// Text into a part file, by large blocks.
class TextOutput
{
public:
    TextOutput(const std::string& path, bool replaces);

    // Room for `size` bytes. What is written there counts once advanceTo() was called.
    char* room(std::size_t size)
    {
        if (size > buffer.size() - used) {
            makeRoom(size);
        }
        return buffer.data() + used;
    }
    void advanceTo(const char* end) { used = static_cast<std::size_t>(end - buffer.data()); }

    void put(std::string_view text);
    void commit();

private:
    void makeRoom(std::size_t size);
    void writeBlock();

    PartFile file;
    std::string buffer;
    std::size_t used = 0;
};

} // namespace convert
