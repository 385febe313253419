// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/outputfile.h"

#include "convert/report.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace convert {

namespace {

constexpr std::size_t BlockSize = 1 << 16;

std::mutex partsMutex;
std::set<std::string> parts;

// What the files of this user may be read and written by.
mode_t fileMode()
{
    static const mode_t mask = [] {
        const mode_t current = umask(0);
        umask(current);
        return current;
    }();
    return 0666 & ~mask;
}

} // namespace

PartFile::PartFile(std::string targetPath, bool replaces)
    : target(std::move(targetPath))
    , partPath(target)
    , mayReplace(replaces)
{
    if (target == "-") {
        fd = STDOUT_FILENO;
        return;
    }
    struct stat status = {};
    const bool exists = stat(target.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) {
        fd = open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0) {
            throw Trouble(target, "cannot write", errno);
        }
        return;
    }
    if (exists && !mayReplace) {
        throw Trouble(target + ": is there already; --force replaces it");
    }
    const std::lock_guard lock(partsMutex);
    partPath += ".XXXXXX.part";
    fd = mkostemps(partPath.data(), static_cast<int>(std::strlen(".part")), O_CLOEXEC);
    if (fd < 0) {
        throw Trouble(target, "cannot write", errno);
    }
    fchmod(fd, fileMode());
    parts.insert(partPath);
    isPart = true;
}

PartFile::~PartFile()
{
    if (fd >= 0 && fd != STDOUT_FILENO) {
        close(fd);
    }
    if (isPart) {
        remove();
    }
}

void PartFile::commit()
{
    if (fd == STDOUT_FILENO) {
        return;
    }
    // A full network drive tells only here.
    const int closed = close(fd);
    fd = -1;
    if (closed != 0) {
        throw Trouble(target, "cannot write", errno);
    }
    if (!isPart) {
        return;
    }
    const char* const from = partPath.c_str();
    int renamed = -1;
    if (!mayReplace) {
        renamed = renameat2(AT_FDCWD, from, AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
    }
    // Some file systems cannot rename so; then the look at the start has to do.
    if (mayReplace || (renamed != 0 && errno == EINVAL)) {
        renamed = std::rename(from, target.c_str());
    }
    if (renamed != 0) {
        throw Trouble(target, "cannot write", errno);
    }
    const std::lock_guard lock(partsMutex);
    parts.erase(partPath);
    isPart = false;
}

void PartFile::remove()
{
    const std::lock_guard lock(partsMutex);
    unlink(partPath.c_str());
    parts.erase(partPath);
}

void PartFile::removeAll()
{
    const std::lock_guard lock(partsMutex);
    for (const std::string& path : parts) {
        unlink(path.c_str());
    }
}

TextOutput::TextOutput(const std::string& path, bool replaces)
    : file(path, replaces)
    , buffer(2 * BlockSize, '\0')
{}

void TextOutput::put(std::string_view text)
{
    char* const out = room(text.size());
    std::memcpy(out, text.data(), text.size());
    advanceTo(out + text.size());
}

void TextOutput::commit()
{
    writeBlock();
    file.commit();
}

void TextOutput::makeRoom(std::size_t size)
{
    writeBlock();
    buffer.resize(std::max(buffer.size(), size));
}

void TextOutput::writeBlock()
{
    for (std::size_t done = 0; done < used;) {
        const ssize_t written = write(file.descriptor(), buffer.data() + done, used - done);
        if (written < 0 && errno != EINTR) {
            const bool isOut = file.path() == "-";
            throw Trouble(isOut ? "standard output" : file.path(), "cannot write", errno);
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    used = 0;
}

} // namespace convert
