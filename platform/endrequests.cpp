// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/endrequests.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

// Another system has other ways to be asked: the end of the user's session, a closed console.

namespace platform {

namespace {

std::array<int, 2> ends = {-1, -1}; // of a line from the handler to the event loop, open for good

// All that a handler may do: the thread that it interrupts may be anywhere.
void sendByte(int /*number*/)
{
    const int kept = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t sent = ::write(ends[1], &byte, 1); // one that waits will do
    errno = kept;
}

void endProgram()
{
    std::array<char, 64> bytes;
    while (::read(ends[0], bytes.data(), bytes.size()) > 0) {
    }
    QMetaObject::invokeMethod(qApp, "closeAllWindows"); // by name: this layer knows no widgets
    QCoreApplication::quit();                           // also if a dialog refuses
}

} // namespace

void watchEndRequests()
{
    socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data());
    auto* arrival = new QSocketNotifier(ends[0], QSocketNotifier::Read, qApp);
    QObject::connect(arrival, &QSocketNotifier::activated, qApp, &endProgram);
    struct sigaction action = {};
    action.sa_handler = &sendByte;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_IGN) {
            sigaction(number, &action, nullptr);
        }
    }
}

} // namespace platform
