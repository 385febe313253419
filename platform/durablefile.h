// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <memory>

namespace platform {

struct OpenedFile;

// A file for writing that a power cut takes little of: while it is open, what has been flushed is
// put on the disk once a second, and once more when it is closed; the folders of a new file as
// well. A thread of its own does that, and neither a write nor close() waits for it, however slow
// the disk. The program ends when all is on the disk. Folders that are missing are made by open().
class DurableFile : public QFile
{
public:
    using QFile::QFile;
    ~DurableFile() override;

    bool open(OpenMode mode) override;
    void close() override;

    // By whatever name or link the other one was opened. False if either is not open.
    bool isSameAs(const QFile& other) const;

private:
    std::shared_ptr<OpenedFile> opened; // null if closed
};

} // namespace platform
