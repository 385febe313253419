// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/partfile.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <mutex>
#include <random>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace convert {

namespace {

std::mutex partsMutex;
std::set<std::string> parts;

[[noreturn]] void endBySignal(int number)
{
    partsMutex.lock(); // for good: no other thread may finish or begin a file
    for (const std::string& path : parts) {
        unlink(path.c_str());
    }
    std::signal(number, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, number);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    raise(number);
    std::abort();
}

} // namespace

bool writeAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

PartFile::PartFile(const std::string& path, bool replaces)
    : target(path)
    , mayReplace(replaces)
{
    std::error_code error;
    // By its other names it would be opened anew, ahead of what it holds.
    if (target == "-" || target == "/dev/stdout" || target == "/dev/fd/1") {
        target = "-";
        fd = STDOUT_FILENO;
        return;
    }
    const auto status = std::filesystem::status(target, error);
    if (is_regular_file(status)) {
        if (!mayReplace) {
            throw ConversionError(target + ": is there already; --force replaces it");
        }
        target = std::filesystem::canonical(target);
        keptMode = static_cast<mode_t>(status.permissions());
    }
    partPath = target;
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
    if (errno == EPIPE) {
        endBySignal(SIGPIPE); // as with head(1): the reader has seen enough
    }
    throw ConversionError(target == "-" ? "standard output" : target, "cannot write", errno);
}

void PartFile::commit()
{
    if (fd == STDOUT_FILENO) {
        return;
    }
    if (keptMode != 0) {
        fchmod(fd, keptMode); // in vain where the file system has no modes
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

void PartFile::write(std::string_view bytes)
{
    if (!writeAll(fd, bytes)) {
        fail();
    }
}

void PartFile::writeAt(std::int64_t place, std::string_view bytes)
{
    if (lseek(fd, place, SEEK_SET) < 0) {
        fail();
    }
    write(bytes);
}

void PartFile::watchSignals()
{
    std::signal(SIGPIPE, SIG_IGN); // the failed write tells
    static sigset_t quitting;
    sigemptyset(&quitting);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction now = {};
        sigaction(number, nullptr, &now);
        if (now.sa_handler != SIG_IGN) {
            sigaddset(&quitting, number);
        }
    }
    pthread_sigmask(SIG_BLOCK, &quitting, nullptr);
    std::thread([] {
        int number = 0;
        sigwait(&quitting, &number);
        endBySignal(number);
    }).detach();
}

} // namespace convert
