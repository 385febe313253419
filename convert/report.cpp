// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/report.h"

#include <algorithm>
#include <cstring>

namespace convert {

ConversionError::ConversionError(const std::string& path, const std::string& what, int error)
    : ConversionError(path + ": " + what + ": " + std::strerror(error))
{}

void Report::odd(const std::string& what, std::int64_t line)
{
    const auto known = std::find_if(oddities.begin(), oddities.end(), [&](const Oddity& oddity) {
        return oddity.what == what;
    });
    if (known == oddities.end()) {
        oddities.push_back({what, line, 1});
    } else {
        ++known->count;
    }
}

std::string Report::text() const
{
    std::string text;
    for (const Oddity& oddity : oddities) {
        text += name;
        if (oddity.line > 0) {
            text += ':' + std::to_string(oddity.line);
        }
        text += ": " + oddity.what;
        if (oddity.count > 1) {
            text += " (" + std::to_string(oddity.count) + " in all)";
        }
        text += '\n';
    }
    return text;
}

} // namespace convert
