// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <atomic>
#include <string>

namespace convert {

// A file to be read, opened; "-" is standard input. Counts what was read, for the progress bar.
class InputFile : public QFile
{
public:
    // Throws ConversionError for what cannot be opened, is a folder, or is empty.
    explicit InputFile(const std::string& inputPath);

    // Before the first reading: copies what cannot be read twice, such as a pipe, to a temporary
    // file. Throws ConversionError.
    void makeRepeatable();

    // Throws ConversionError if reading has failed since.
    void check() const;

    const std::string& name() const { return path; } // for messages

    static std::atomic<qint64> bytesRead; // from all files

protected:
    qint64 readData(char* data, qint64 size) override;

private:
    const std::string path;
};

// The name for messages.
std::string shownName(const std::string& path);

} // namespace convert
