// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/commandinput.h"

#include <QFile>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace simulator {

CommandInput::CommandInput(int descriptor, QObject* parent)
    : QObject(parent)
    , input(descriptor)
    , notifier(descriptor, QSocketNotifier::Read)
{
    pause.setSingleShot(true);
    connect(&notifier, &QSocketNotifier::activated, this, &CommandInput::read);
    connect(&pause, &QTimer::timeout, this, &CommandInput::work);
}

CommandInput::~CommandInput()
{
    notifier.setEnabled(false);
    ::close(input);
}

int CommandInput::openPath(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    const bool isPipe = ::stat(name.constData(), &status) == 0 && S_ISFIFO(status.st_mode);
    return ::open(name.constData(), (isPipe ? O_RDWR : O_RDONLY) | O_CLOEXEC);
}

void CommandInput::read()
{
    std::array<char, 4096> buffer;
    const ssize_t size = ::read(input, buffer.data(), buffer.size());
    if (size > 0) {
        pending.append(buffer.data(), static_cast<int>(size));
    } else {
        notifier.setEnabled(false);
        pending.append('\n'); // the last line may lack its end
    }
    work();
}

void CommandInput::work()
{
    int end = 0;
    while (!pause.isActive() && (end = pending.indexOf('\n')) >= 0) {
        const QString text = QString::fromUtf8(pending.left(end)).simplified();
        pending.remove(0, end + 1);
        if (text.section(' ', 0, 0) == QLatin1String("wait")) {
            pause.start(qMax(0, text.section(' ', 1).toInt()));
        } else {
            emit line(text);
        }
    }
}

} // namespace simulator
