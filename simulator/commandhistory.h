// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace simulator {

// What a controller was told: how often, what last, and the first so many commands in order.
class CommandHistory
{
public:
    explicit CommandHistory(std::size_t keep)
        : most(keep)
    {}

    void add(const xcu::Command& command);
    void clear();

    int count(xcu::Command::ReqCase member) const;
    std::optional<xcu::Command> last(xcu::Command::ReqCase member) const;
    const std::vector<xcu::Command>& list() const { return commands; }

private:
    struct Entry
    {
        int count = 0;
        xcu::Command last;
    };

    std::map<int, Entry> members;
    std::vector<xcu::Command> commands;
    std::size_t most;
};

} // namespace simulator
