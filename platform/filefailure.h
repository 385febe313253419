// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace platform {

// What went wrong with a file; the text is for the user and names the file.
class FileFailure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
    // "<path>: <what>: <the system's word for an error number>"
    FileFailure(const std::string& path, const std::string& what, int error)
        : FileFailure(path + ": " + what + ": " + std::strerror(error))
    {}
};

} // namespace platform
