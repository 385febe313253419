// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/inputfile.h"

#include "convert/partfile.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace convert {

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
    const char* const folder = std::getenv("TMPDIR");
    std::string name = std::string(folder != nullptr ? folder : "/tmp") + "/xcu-convert-XXXXXX";
    const int copy = mkostemp(name.data(), O_CLOEXEC);
    QByteArray block;
    bool isWritten = copy >= 0 && unlink(name.c_str()) == 0;
    while (isWritten && !(block = QFile::read(1 << 16)).isEmpty()) {
        isWritten = writeAll(copy, {block.constData(), static_cast<std::size_t>(block.size())});
    }
    if (!isWritten) {
        throw ConversionError(path, "cannot keep a copy, " + name, errno);
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

} // namespace convert
