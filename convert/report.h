// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace convert {

// Why a file could not be converted. The text is for the user and names the file.
class ConversionError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
    // "<path>: <what>: <the system's word for an error number>"
    ConversionError(const std::string& path, const std::string& what, int error)
        : ConversionError(path + ": " + what + ": " + std::strerror(error))
    {}
};

// The warnings of one input file: each kind once, with its first place and its count.
class Report
{
public:
    explicit Report(std::string inputName)
        : name(std::move(inputName))
    {}

    // `what` says what was found and what became of it. Line 0 is the file as a whole.
    void warn(const std::string& what, std::int64_t line = 0)
    {
        for (Warning& known : warnings) {
            if (known.what == what) {
                ++known.count;
                return;
            }
        }
        warnings.push_back({what, line, 1});
    }

    // What another reading of the file found that this one did not.
    void addNew(const Report& other)
    {
        const auto known = warnings;
        for (const Warning& warning : other.warnings) {
            const auto isSame = [&](const Warning& it) { return it.what == warning.what; };
            if (std::none_of(known.begin(), known.end(), isSame)) {
                warnings.push_back(warning);
            }
        }
    }

    // Lines "<file>:<line>: <what>", with " (<count> in all)" where it came again.
    std::string text() const
    {
        std::string text;
        for (const auto& [what, line, count] : warnings) {
            text += name + (line > 0 ? ':' + std::to_string(line) : "") + ": " + what;
            text += count > 1 ? " (" + std::to_string(count) + " in all)\n" : "\n";
        }
        return text;
    }

private:
    struct Warning
    {
        std::string what;
        std::int64_t line;
        std::int64_t count;
    };

    const std::string name;
    std::vector<Warning> warnings; // in the order of their first place
};

} // namespace convert
