// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/commandhistory.h"

namespace simulator {

void CommandHistory::add(const xcu::Command& command)
{
    Entry& entry = members[command.req_case()];
    ++entry.count;
    entry.last = command;
    if (commands.size() < most) {
        commands.push_back(command);
    }
}

void CommandHistory::clear()
{
    members.clear();
    commands.clear();
}

int CommandHistory::count(xcu::Command::ReqCase member) const
{
    const auto found = members.find(member);
    return found == members.end() ? 0 : found->second.count;
}

std::optional<xcu::Command> CommandHistory::last(xcu::Command::ReqCase member) const
{
    const auto found = members.find(member);
    return found == members.end() ? std::nullopt : std::make_optional(found->second.last);
}

} // namespace simulator
