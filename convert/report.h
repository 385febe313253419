// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/filefailure.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace convert {

// Why a file could not be converted.
using ConversionError = platform::FileFailure;

// What was odd in one input file: each kind once, with its first place and its count.
class Report
{
public:
    explicit Report(std::string inputName)
        : name(std::move(inputName))
    {}

    // `what` says what was found and what became of it. Line 0 is an oddity of the whole file.
    void odd(const std::string& what, std::int64_t line = 0)
    {
        for (Oddity& known : oddities) {
            if (known.what == what) {
                ++known.count;
                return;
            }
        }
        oddities.push_back({what, line, 1});
    }

    // What another reading of the file found that this one did not.
    void addNew(const Report& other)
    {
        const auto known = oddities;
        for (const Oddity& oddity : other.oddities) {
            const auto isSame = [&](const Oddity& it) { return it.what == oddity.what; };
            if (std::none_of(known.begin(), known.end(), isSame)) {
                oddities.push_back(oddity);
            }
        }
    }

    // Lines "<file>:<line>: <what>", with " (<count> in all)" where it came again.
    std::string text() const
    {
        std::string text;
        for (const auto& [what, line, count] : oddities) {
            text += name + (line > 0 ? ':' + std::to_string(line) : "") + ": " + what;
            text += count > 1 ? " (" + std::to_string(count) + " in all)\n" : "\n";
        }
        return text;
    }

private:
    struct Oddity
    {
        std::string what;
        std::int64_t line;
        std::int64_t count;
    };

    const std::string name;
    std::vector<Oddity> oddities; // in the order of their first place
};

} // namespace convert
