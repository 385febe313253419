// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <string>

namespace convert {

// A file to be read, opened; "-" is standard input.
class InputFile : public QFile
{
public:
    // Throws ConversionError for what cannot be opened, is a folder, or is empty.
    explicit InputFile(const std::string& inputPath);

    // Before the first reading: copies what cannot be read twice, such as a pipe, to a file without
    // a name in TMPDIR. Throws ConversionError.
    void makeRepeatable();

    // Throws ConversionError if reading has failed since.
    void check() const;

    const std::string& name() const { return path; } // for messages

private:
    const std::string path;
};

// The name for messages.
std::string shownName(const std::string& path);

} // namespace convert
