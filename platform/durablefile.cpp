// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/durablefile.h"

#include "platform/diagnostics.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

// Another system needs its own calls to put a file and the entries of a folder on the disk, to open
// the same file again for the thread, and for the identity of a file.

namespace platform {

struct OpenedFile
{
    OpenedFile(int ownDescriptor, QString filePath)
        : descriptor(ownDescriptor)
        , path(std::move(filePath))
    {}
    ~OpenedFile() { ::close(descriptor); }
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;

    const int descriptor; // of its own, so that closing the file asks nobody
    const QString path;
    bool isClosed = false;
    qint64 sizeOnDisk = -1; // bytes
};

namespace {

constexpr std::chrono::seconds Interval(1);
constexpr int MostNewFolders = 4; // that can be new with a file, the documents folder among them

void putFoldersOnDisk(const QString& path)
{
    QString folder = path;
    for (int i = 0; i < MostNewFolders; ++i) {
        folder = QFileInfo(folder).absolutePath();
        const QByteArray name = QFile::encodeName(folder);
        const int descriptor = ::open(name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor >= 0) {
            fsync(descriptor);
            ::close(descriptor);
        }
    }
}

void putOnDisk(OpenedFile& file)
{
    struct stat status = {};
    fstat(file.descriptor, &status);
    if (status.st_size == file.sizeOnDisk) {
        return;
    }
    if (fdatasync(file.descriptor) != 0 && errno != EINVAL) { // which tells that there is no disk
        errorLine(QFile::encodeName(file.path).constData(), ": ", std::strerror(errno));
    }
    if (file.sizeOnDisk < 0) {
        putFoldersOnDisk(file.path);
    }
    file.sizeOnDisk = status.st_size;
}

class DiskThread
{
public:
    ~DiskThread()
    {
        setUnderLock(isEnding);
        if (thread.joinable()) {
            thread.join();
        }
    }

    void add(const std::shared_ptr<OpenedFile>& file)
    {
        const std::lock_guard lock(mutex);
        files.push_back(file);
        if (!thread.joinable()) {
            try {
                thread = std::thread([this] { run(); });
            } catch (const std::system_error& failure) {
                errorLine("files are not put on the disk: ", failure.what());
            }
        }
        changed.notify_one();
    }

    void close(OpenedFile& file) { setUnderLock(file.isClosed); }

private:
    void setUnderLock(bool& flag)
    {
        const std::lock_guard lock(mutex);
        flag = true;
        changed.notify_one();
    }

    void run()
    {
        const auto isClosed = [this](const auto& file) { return isEnding || file->isClosed; };
        const auto anyClosed = [&] {
            return isEnding || std::any_of(files.begin(), files.end(), isClosed);
        };
        std::unique_lock lock(mutex);
        while (!isEnding || !files.empty()) {
            changed.wait(lock, [this] { return isEnding || !files.empty(); });
            changed.wait_for(lock, Interval, anyClosed);
            auto current = files;
            files.erase(std::remove_if(files.begin(), files.end(), isClosed), files.end());
            lock.unlock();
            for (const auto& file : current) {
                putOnDisk(*file);
            }
            current.clear();
            lock.lock();
        }
    }

    std::mutex mutex; // never held while the disk is at work
    std::condition_variable changed;
    std::vector<std::shared_ptr<OpenedFile>> files;
    bool isEnding = false;
    std::thread thread;
};

DiskThread& diskThread()
{
    static DiskThread instance; // goes, and waits for the disk, after main
    return instance;
}

} // namespace

DurableFile::~DurableFile()
{
    DurableFile::close();
}

bool DurableFile::open(OpenMode mode)
{
    QDir().mkpath(QFileInfo(fileName()).path());
    if (!QFile::open(mode)) {
        return false;
    }
    const int own = fcntl(handle(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (own >= 0) {
        opened = std::make_shared<OpenedFile>(own, fileName());
        diskThread().add(opened);
    }
    return true;
}

void DurableFile::close()
{
    QFile::close();
    if (opened) {
        diskThread().close(*opened);
        opened.reset();
    }
}

bool DurableFile::isSameAs(const QFile& other) const
{
    struct stat first = {};
    struct stat second = {};
    return fstat(handle(), &first) == 0 && fstat(other.handle(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

} // namespace platform
