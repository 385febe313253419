// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/chosenfile.h"

#include "platform/samefile.h"

#include <QFileInfo>
#include <cstdio>

namespace app {

ChosenFile::ChosenFile(const QString& name, std::function<void()> pauseFunction)
    : QFile(name)
    , pause(std::move(pauseFunction))
{
    // Looked at first: to open a pipe would wait for its writer. Files of /proc that call
    // themselves regular have no size.
    const QFileInfo info(name);
    if (!info.isFile() || info.size() == 0 || !open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "%s: not a file that can be read, or empty\n", qPrintable(name));
        return;
    }
    left = wholeSize = size();
}

bool ChosenFile::isSameAs(const QFile& other) const
{
    return isOpen() && other.isOpen() && platform::isSameFile(handle(), other.handle());
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

} // namespace app
