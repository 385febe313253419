// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/pseudoterminal.h"

#include <QFile>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

using namespace simulator;

PseudoTerminal::PseudoTerminal()
    : nearEnd(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    , watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , readNotifier(nearEnd, QSocketNotifier::Read)
    , writeNotifier(nearEnd, QSocketNotifier::Write)
    , watchNotifier(watch, QSocketNotifier::Read)
{
    std::array<char, 64> name = {};
    if (::grantpt(nearEnd) == 0 && ::unlockpt(nearEnd) == 0 &&
        ::ptsname_r(nearEnd, name.data(), name.size()) == 0) {
        farPath = QFile::decodeName(name.data());
    }
    ::fcntl(nearEnd, F_SETFL, O_NONBLOCK);
    openFarEnd();
    ::inotify_add_watch(watch, name.data(), IN_OPEN | IN_CLOSE_WRITE);

    writeNotifier.setEnabled(false);
    connect(&readNotifier, &QSocketNotifier::activated, this, &PseudoTerminal::readable);
    connect(&writeNotifier, &QSocketNotifier::activated, this, &PseudoTerminal::writable);
    connect(&watchNotifier, &QSocketNotifier::activated, this, &PseudoTerminal::useChanged);
}

PseudoTerminal::~PseudoTerminal()
{
    close();
}

void PseudoTerminal::close()
{
    for (QSocketNotifier* notifier : {&readNotifier, &writeNotifier, &watchNotifier}) {
        notifier->setEnabled(false);
    }
    for (int* descriptor : {&nearEnd, &farEnd, &watch}) {
        ::close(std::exchange(*descriptor, -1));
    }
}

void PseudoTerminal::openFarEnd()
{
    // For reading only: the watch then tells a program's close from ours.
    farEnd = ::open(QFile::encodeName(farPath).constData(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
    termios attributes = {};
    ::tcgetattr(farEnd, &attributes);
    ::cfmakeraw(&attributes);
    ::tcsetattr(farEnd, TCSANOW, &attributes);
}

QByteArray PseudoTerminal::read()
{
    std::array<char, 16384> buffer;
    const ssize_t size = ::read(nearEnd, buffer.data(), buffer.size());
    return {buffer.data(), static_cast<int>(qMax<ssize_t>(0, size))};
}

int PseudoTerminal::write(const char* bytes, int size)
{
    int written = 0;
    ssize_t taken = 0;
    do {
        taken = ::write(nearEnd, bytes + written, static_cast<std::size_t>(size - written));
        written += static_cast<int>(qMax<ssize_t>(0, taken));
    } while (taken > 0 && written < size);
    return written;
}

void PseudoTerminal::discardUnread()
{
    ::tcflush(farEnd, TCIFLUSH);
}

PseudoTerminal::Use PseudoTerminal::takeUse()
{
    QByteArray events = takeEvents();
    Use use = {events.contains('o'), events.contains('c') && events.endsWith('o')};
    // Asking opens the far end, which is an event again. A program that opens it in that very
    // moment shows by the bytes that it sends.
    while (events.contains('c')) {
        use = isFarEndInUse() ? use : Use{false, true};
        events = takeEvents();
    }
    return use;
}

QByteArray PseudoTerminal::takeEvents()
{
    QByteArray events;
    alignas(inotify_event) std::array<char, 4096> buffer;
    ssize_t size = 0;
    while ((size = ::read(watch, buffer.data(), buffer.size())) > 0) {
        for (ssize_t at = 0; at < size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            events += (event->mask & IN_OPEN) != 0 ? 'o' : 'c';
        }
    }
    return events;
}

bool PseudoTerminal::isFarEndInUse()
{
    // A program that was killed leaves its exclusive mark on the terminal, and an ordinary user
    // could not open it again.
    int exclusive = 0;
    ::ioctl(farEnd, TIOCGEXCL, &exclusive);
    ::ioctl(farEnd, TIOCNXCL);

    // The near end hangs up exactly while nobody has the far end open; so ours has to go.
    ::close(farEnd);
    pollfd state = {nearEnd, 0, 0};
    ::poll(&state, 1, 0);
    const bool inUse = (state.revents & POLLHUP) == 0;
    openFarEnd();
    if (inUse && exclusive != 0) {
        ::ioctl(farEnd, TIOCEXCL);
    }
    return inUse;
}
