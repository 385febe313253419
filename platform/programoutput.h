// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// What a program prints; none if it fails, which it tells itself on standard error. The program is
// the one beside ours, where it is installed or built, or that of the path.
std::optional<QByteArray> programOutput(
    const std::string& program, const std::vector<std::string>& arguments);

} // namespace platform
