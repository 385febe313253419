// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/signalcatcher.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace simulator {

namespace {

struct Caught
{
    int number;
    bool fromTerminal;
};

std::array<int, 2> signalPipe;

void handleSignal(int number, siginfo_t* info, void*)
{
    const Caught caught = {number, info->si_code == SI_KERNEL};
    // A signal handler may call nothing but such plain system calls.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &caught, sizeof caught);
}

} // namespace

SignalCatcher::SignalCatcher(QObject* parent)
    : QObject(parent)
{
    if (::pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("No pipe for signals");
    }
    notifier = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &SignalCatcher::read);

    struct sigaction action = {};
    action.sa_sigaction = handleSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        ::sigaction(number, &action, nullptr);
    }
}

void SignalCatcher::read()
{
    Caught event = {};
    while (::read(signalPipe[0], &event, sizeof event) == sizeof event) {
        emit caught(event.number, event.fromTerminal);
    }
}

} // namespace simulator
