// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/outputfile.h"

#include "convert/report.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <random>
#include <set>
#include <unistd.h>
#include <utility>

namespace convert {

namespace {

constexpr std::size_t BlockSize = 1 << 16;

std::mutex partsMutex;
std::set<std::string> parts;

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
    std::error_code error;
    const auto status = std::filesystem::status(target, error);
    if (is_regular_file(status) && !mayReplace) {
        throw ConversionError(target + ": is there already; --force replaces it");
    }
    if (exists(status) && !is_regular_file(status)) {
        fd = open(target.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        constexpr mode_t all = 0666; // less what the user's mask forbids
        const std::lock_guard lock(partsMutex);
        partPath += '.' + std::to_string(std::random_device{}()) + ".part";
        fd = open(partPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, all);
        isPart = fd >= 0;
        if (isPart) {
            parts.insert(partPath);
        }
    }
    if (fd < 0) {
        fail();
    }
}

PartFile::~PartFile()
{
    if (fd >= 0 && fd != STDOUT_FILENO) {
        close(fd);
    }
    if (isPart) {
        const std::lock_guard lock(partsMutex);
        unlink(partPath.c_str());
        parts.erase(partPath);
    }
}

void PartFile::fail() const
{
    throw ConversionError(target == "-" ? "standard output" : target, "cannot write", errno);
}

void PartFile::commit()
{
    if (fd == STDOUT_FILENO) {
        return;
    }
    // A full network drive tells only here.
    if (close(std::exchange(fd, -1)) != 0) {
        fail();
    }
    if (!isPart) {
        return;
    }
    const char* const from = partPath.c_str();
    const unsigned flags = mayReplace ? 0 : RENAME_NOREPLACE;
    int renamed = renameat2(AT_FDCWD, from, AT_FDCWD, target.c_str(), flags);
    if (renamed != 0 && errno == EINVAL) {
        // Some file systems cannot rename so; then the look at the start has to do.
        renamed = std::rename(from, target.c_str());
    }
    if (renamed != 0) {
        fail();
    }
    const std::lock_guard lock(partsMutex);
    parts.erase(partPath);
    isPart = false;
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
            file.fail();
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    used = 0;
}

} // namespace convert
