// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/inputfile.h"

#include "convert/report.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace convert {

std::atomic<qint64> InputFile::bytesRead = 0;

std::string shownName(const std::string& path)
{
    return path == "-" ? "standard input" : path;
}

InputFile::InputFile(const std::string& inputPath)
    : path(shownName(inputPath))
{
    // By its descriptor: a QString cannot hold every name that a file may have.
    const int fd =
        inputPath == "-" ? dup(STDIN_FILENO) : ::open(inputPath.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        throw ConversionError(path, "cannot read", errno);
    }
    QFile::open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    if (S_ISDIR(status.st_mode)) {
        throw ConversionError(path + ": is a folder");
    }
    if (peek(1).isEmpty()) {
        check();
        throw ConversionError(path + ": is empty");
    }
}

void InputFile::makeRepeatable()
{
    if (!isSequential()) {
        return;
    }
    std::FILE* const copy = std::tmpfile();
    QByteArray block;
    bool isWritten = copy != nullptr;
    while (isWritten && !(block = QFile::read(1 << 16)).isEmpty()) {
        const auto size = static_cast<std::size_t>(block.size());
        isWritten = std::fwrite(block.constData(), 1, size, copy) == size;
    }
    if (!isWritten || std::fflush(copy) != 0) {
        throw ConversionError(path, "cannot keep a copy in the folder for temporary files", errno);
    }
    check();
    QFile::close();
    QFile::open(copy, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    seek(0);
}

void InputFile::check() const
{
    if (error() == QFileDevice::ReadError) {
        throw ConversionError(path + ": cannot read: " + errorString().toStdString());
    }
}

qint64 InputFile::readData(char* data, qint64 size)
{
    const qint64 count = QFile::readData(data, size);
    bytesRead += std::max<qint64>(count, 0);
    return count;
}

} // namespace convert
