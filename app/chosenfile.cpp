// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/chosenfile.h"

#include "platform/diagnostics.h"

#include <QFileInfo>
#include <new>
#include <vector>

namespace app {

ChosenFile::ChosenFile(const QString& name, std::function<void()> serveFunction)
    : QFile(name)
    , serve(std::move(serveFunction))
{
    sinceServed.start();
    // Looked at first: to open a pipe would wait for its writer. Files of /proc that call
    // themselves regular have no size.
    const QFileInfo info(name);
    if (!info.isFile() || info.size() == 0 || !open(QIODevice::ReadOnly)) {
        platform::errorLine(qPrintable(name), ": not a file that can be read, or empty");
        return;
    }
    left = wholeSize = size();
}

void ChosenFile::pause()
{
    constexpr int intervalMs = 1; // at the fastest pace of a session every request still leaves
    if (sinceServed.hasExpired(intervalMs - 1)) {
        serve();
        sinceServed.start();
    }
}

bool ChosenFile::seek(qint64 position)
{
    left = wholeSize - position;
    return QFile::seek(position);
}

qint64 ChosenFile::readData(char* data, qint64 size)
{
    pause();
    const qint64 count = QFile::readData(data, qMin(size, left));
    left -= qMax<qint64>(count, 0);
    return count;
}

void readChosenFile(
    const QString& name, const std::function<void()>& serve,
    const std::function<void(ChosenFile&)>& read)
{
    try {
        std::vector<char> reserve; // of addresses: what the rest is left with if memory runs out
        reserve.reserve(32 << 20);
        ChosenFile file(name, serve);
        read(file);
    } catch (const std::bad_alloc&) {
        platform::errorLine(qPrintable(name), ": out of memory, not read to the end");
    }
}

} // namespace app
