// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/programoutput.h"

#include <cstdio>
#include <filesystem>

namespace platform {

namespace {

// For the shell.
std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result + '\'';
}

} // namespace

std::optional<QByteArray> programOutput(
    const std::string& program, const std::vector<std::string>& arguments)
{
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    const bool isBeside = exists(folder / program, error);
    std::string command = quoted(isBeside ? (folder / program).string() : program);
    for (const std::string& argument : arguments) {
        command += ' ' + quoted(argument);
    }
    std::FILE* const pipe = popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    QByteArray output;
    char block[1 << 16];
    while (const std::size_t size = std::fread(block, 1, sizeof block, pipe)) {
        output.append(block, static_cast<int>(size));
    }
    return pclose(pipe) == 0 ? std::optional(output) : std::nullopt;
}

} // namespace platform
