// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/signals.h"

#include <QBuffer>
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

namespace convert {

namespace {

std::vector<const formats::CanSignal*> signalsOf(
    const Database& database, const FrameKey& key, const Selection& selection)
{
    const auto [bus, isExtended, id] = key;
    const int kind = isExtended ? formats::CanSignal::Extended : formats::CanSignal::Standard;
    std::vector<const formats::CanSignal*> result;
    for (const formats::CanSignal& signal : database.all) {
        if (signal.id == id && (signal.kind & kind) != 0 &&
            (selection.takesName(signal.name) ||
             selection.takesName(signal.message + '.' + signal.name))) {
            result.push_back(&signal);
        }
    }
    return result;
}

// For the shell.
std::string quoted(const std::string& text)
{
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? "'\\''" : std::string(1, c);
    }
    return result + '\'';
}

// What xcu-signals prints for a database; empty if it fails, which it tells itself on standard
// error. It is the one beside this program, where that is installed or built, or that of the path.
QByteArray signalTableOf(const std::string& database)
{
    std::error_code error;
    std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    program.replace_filename("xcu-signals");
    if (!exists(program, error)) {
        program = program.filename();
    }
    const std::string command = quoted(program) + " --table -o - -- " + quoted(database);
    std::FILE* const pipe = popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return {};
    }
    QByteArray output;
    char block[1 << 16];
    while (const std::size_t size = std::fread(block, 1, sizeof block, pipe)) {
        output.append(block, static_cast<int>(size));
    }
    return pclose(pipe) == 0 ? output : QByteArray();
}

} // namespace

std::string busName(int bus)
{
    return bus < 0 ? "can" : "can" + std::to_string(bus);
}

Database::Database(const std::string& databasePath, Report& report)
    : path(databasePath)
{
    const auto warn = [&](const std::string& what, std::int64_t line) { report.warn(what, line); };
    InputFile file(path);
    const bool isTable = file.peek(sizeof formats::SignalTableMark - 1) == formats::SignalTableMark;
    if (isTable) {
        all = formats::readSignalTable(file, warn);
    } else if (path == "-" || std::filesystem::path(path).extension() == ".csv") {
        all = formats::readSignalsOfSet(file, warn);
    } else {
        QByteArray table = signalTableOf(path);
        QBuffer buffer(&table);
        buffer.open(QIODevice::ReadOnly);
        all = formats::readSignalTable(buffer, warn);
    }
    if (all.empty()) {
        throw ConversionError(
            report.text() + shownName(path) + ": has no signal that can be decoded");
    }
}

SignalPlan::SignalPlan(
    const Database& database, const std::vector<Survey>& surveys, const Selection& selection)
{
    for (const Survey& survey : surveys) {
        for (const auto& [key, count] : survey.framesOf) {
            places.emplace(key, -1);
        }
    }
    std::vector<std::array<std::string, 3>> candidates; // from the shortest name on
    for (auto& [key, place] : places) {
        const auto contents = signalsOf(database, key, selection);
        if (contents.empty()) {
            continue;
        }
        const auto [bus, isExtended, id] = key;
        char number[16];
        std::snprintf(number, sizeof number, isExtended ? "0x%08x" : "0x%03x", id);
        const std::string& frame = contents.front()->message;
        const std::string message = frame.empty() ? number : frame;
        place = static_cast<int>(messages.size());
        messages.push_back({key, busName(bus) + ' ' + message, contents, {}});
        for (const formats::CanSignal* signal : contents) {
            const std::string longer = message + '.' + signal->name;
            candidates.push_back({signal->name, longer, busName(bus) + '.' + longer});
        }
    }
    // As long as one of its name needs it, so that all of a name look alike.
    std::map<std::string, std::map<std::string, int>> uses;
    for (const auto& [shortest, longer, longest] : candidates) {
        ++uses[shortest][longer];
    }
    std::vector<std::string> names;
    for (const auto& [shortest, longer, longest] : candidates) {
        const auto& all = uses[shortest];
        const bool isOne = all.size() == 1 && all.begin()->second == 1;
        const bool isClear =
            std::all_of(all.begin(), all.end(), [](const auto& use) { return use.second == 1; });
        names.push_back(isOne ? shortest : isClear ? longer : longest);
    }
    names = uniqueNames(names, {"time_s"}, "signal");
    std::size_t next = 0;
    for (Message& message : messages) {
        const auto begin = names.begin() + static_cast<std::ptrdiff_t>(next);
        next += message.contents.size();
        message.names.assign(begin, names.begin() + static_cast<std::ptrdiff_t>(next));
    }
}

int SignalPlan::find(const formats::TraceFrame& frame) const
{
    if (frame.isRemote || frame.isError) {
        return -1;
    }
    const auto place = places.find(keyOf(frame));
    return place == places.end() ? -1 : place->second;
}

void SignalPlan::warn(const Database& database, Report& report) const
{
    constexpr int exactBits = 53;
    if (messages.empty()) {
        report.warn("has none of the signals of " + shownName(database.path));
    }
    for (const Message& message : messages) {
        for (const formats::CanSignal* signal : message.contents) {
            if (signal->field.bitCount > exactBits && signal->type != formats::CanSignal::Float) {
                report.warn(signal->name + ": values of more than 53 bits are rounded");
            }
        }
    }
}

} // namespace convert
