// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/diagnostics.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

// Another system needs its own way to write to a pipe or terminal without waiting, and for a write
// to one whose reader has gone not to end the program. The rest is the same anywhere.

namespace platform {

namespace {

constexpr std::size_t MostAtOnce = 4096; // bytes that a pipe takes without blocking if it takes any
constexpr std::size_t MostWaiting = std::size_t(4) << 20; // bytes
constexpr int RetryMs = 20;
constexpr int LastChanceMs = 500;

// Standard output or error. Not safe by itself: for calls under a lock.
class Stream
{
public:
    Stream(int streamDescriptor, const char* streamName)
        : descriptor(streamDescriptor)
        , name(streamName)
    {}

    // Spares asking before each write, which costs as much again. A file takes everything. The flag
    // for a pipe or terminal belongs to the open file, which is the shell's as well: so it is
    // opened anew. A terminal needs that anyhow: if it takes one byte it says yes, and blocks for
    // others.
    void openAnew()
    {
        struct stat status = {};
        fstat(descriptor, &status);
        if (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)) {
            const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
            constexpr int flags = O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
            int own = ::open(path.c_str(), flags);
            if (own < 0 && tcgetpgrp(descriptor) >= 0) { // after su it is another user's, but ours
                own = ::open("/dev/tty", flags);
            }
            mayBlock = own < 0 || dup2(own, descriptor) < 0;
            ::close(own);
        } else {
            mayBlock = !S_ISREG(status.st_mode);
        }
    }

    void write(std::string_view text)
    {
        if (isGone) {
            return;
        }
        if (inLostLine) {
            const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
            inLostLine = text.substr(0, size).find('\n') == std::string_view::npos;
            linesLost += inLostLine ? 0 : 1;
            text.remove_prefix(size);
        }
        drain();
        if (!isWaiting()) {
            text.remove_prefix(put(text));
        }
        waiting += text;
        if (waiting.size() - first > MostWaiting) {
            leaveOutBehind(first + MostWaiting);
        }
    }

    void drain()
    {
        if (!isWaiting()) {
            return;
        }
        first += put(std::string_view(waiting).substr(first));
        if (isGone) {
            first = waiting.size();
        }
        if (first > waiting.size() / 2) { // not each time: it moves the rest
            waiting.erase(0, std::exchange(first, 0));
        }
    }

    bool isWaiting() const { return first < waiting.size(); }

    void giveUp() { leaveOutBehind(first); }

    // A line on what was left out; empty while there is none, or more may follow.
    std::string takeComplaint()
    {
        if (linesLost == 0 || isWaiting()) {
            return {};
        }
        return lineOf(name, ": not read, ", std::exchange(linesLost, 0), " lines left out");
    }

private:
    // Gives how many bytes have been taken.
    std::size_t put(std::string_view text)
    {
        // A disk may get room again. Other errors are for good.
        static constexpr int passing[] = {EINTR, EAGAIN, ENOSPC, EDQUOT, EFBIG};
        std::size_t taken = 0;
        pollfd place = {descriptor, POLLOUT, 0};
        while (taken < text.size() && (!mayBlock || poll(&place, 1, 0) > 0)) {
            const std::size_t size = std::min(text.size() - taken, MostAtOnce);
            // Not write(): under the preload of a virtual controller it costs three times as much.
            const ssize_t written = ::syscall(SYS_write, descriptor, text.data() + taken, size);
            if (written < 0) {
                isGone =
                    std::find(std::begin(passing), std::end(passing), errno) == std::end(passing);
                break;
            }
            taken += static_cast<std::size_t>(written);
        }
        return taken;
    }

    // And the line that this place is in.
    void leaveOutBehind(std::size_t place)
    {
        const std::size_t lineEnd = std::string_view(waiting).substr(0, place).rfind('\n');
        const std::size_t kept = lineEnd == std::string::npos ? 0 : lineEnd + 1;
        if (kept < waiting.size()) {
            linesLost += std::count(waiting.begin() + std::ptrdiff_t(kept), waiting.end(), '\n');
            inLostLine = waiting.back() != '\n';
            waiting.resize(kept);
            first = std::min(first, kept);
        }
    }

    int descriptor;
    const char* name;
    std::string waiting; // from `first` on
    std::size_t first = 0;
    long linesLost = 0;
    bool inLostLine = false; // its beginning was left out
    bool isGone = false;     // nobody will ever read it
    bool mayBlock = true;
};

std::mutex mutex; // of what follows
Stream output(STDOUT_FILENO, "standard output");
Stream error(STDERR_FILENO, "standard error");
bool isRetryDue = false;

void write(Stream& stream, std::string_view text);

void retry()
{
    {
        const std::lock_guard lock(mutex);
        isRetryDue = false;
        output.drain();
    }
    write(error, {});
}

void write(Stream& stream, std::string_view text)
{
    {
        const std::lock_guard lock(mutex);
        stream.write(text);
        error.write(output.takeComplaint());
        error.write(error.takeComplaint());
        const bool isAnyWaiting = output.isWaiting() || error.isWaiting();
        if (!isAnyWaiting || std::exchange(isRetryDue, true)) {
            return;
        }
    }
    if (QCoreApplication* const application = QCoreApplication::instance()) {
        const auto start = [application] { QTimer::singleShot(RetryMs, application, &retry); };
        QMetaObject::invokeMethod(application, start, Qt::QueuedConnection);
    }
}

void showMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    errorLine(qFormatLogMessage(type, context, text).toLocal8Bit().constData());
}

} // namespace

void printText(std::string_view text)
{
    write(output, text);
}

void errorText(std::string_view text)
{
    write(error, text);
}

StandardStreams::StandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) < 0) {
            ::open("/dev/null", O_RDWR); // gets the lowest number that is free
        }
    }
    output.openAnew();
    error.openAnew();
    std::signal(SIGPIPE, SIG_IGN); // the write tells
    std::signal(SIGTTOU, SIG_IGN); // or a terminal can stop a program in the background
    qInstallMessageHandler(&showMessage);
}

StandardStreams::~StandardStreams()
{
    qInstallMessageHandler(nullptr);
    const std::lock_guard lock(mutex);
    QElapsedTimer clock;
    clock.start();
    while ((output.isWaiting() || error.isWaiting()) && clock.elapsed() < LastChanceMs) {
        QThread::msleep(1);
        output.drain();
        error.drain();
    }
    output.giveUp();
    error.write(output.takeComplaint());
    error.giveUp();
}

} // namespace platform
