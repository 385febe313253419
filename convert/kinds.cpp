// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/kinds.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace convert {

namespace {

struct Row
{
    const char* nameEnd;
    Kind kind;
    bool isInput;
    bool isOutput;
};

// The word of a kind is the end of its name without the dot; the first row of a kind names its
// files.
constexpr std::array rows{
    Row{".log", Kind::Log, true, false},        Row{".rbx", Kind::Blackbox, true, false},
    Row{".txt", Kind::Txt, true, false},        Row{".candump", Kind::Candump, true, true},
    Row{".trc", Kind::Trc, true, false},        Row{".csv", Kind::Csv, true, true},
    Row{".asc", Kind::Asc, true, true},         Row{".trace", Kind::Trace, true, false},
    Row{".h5", Kind::Hdf5, false, true},        Row{".hdf5", Kind::Hdf5, false, true},
    Row{".xcu", Kind::Backup, true, false},     Row{".dbc", Kind::Database, true, false},
    Row{".arxml", Kind::Database, true, false}, Row{".kcd", Kind::Database, true, false},
    Row{".xlsx", Kind::Database, true, false},
};

bool endsWith(const std::string& text, const std::string& end)
{
    const auto isAlike = [](unsigned char a, unsigned char b) { return std::tolower(a) == b; };
    return text.size() > end.size() &&
           std::equal(end.rbegin(), end.rend(), text.rbegin(), [&](char b, char a) {
               return isAlike(static_cast<unsigned char>(a), static_cast<unsigned char>(b));
           });
}

std::vector<std::string> words(bool Row::*isWanted)
{
    std::vector<std::string> result;
    for (const Row& row : rows) {
        if (row.*isWanted) {
            result.emplace_back(row.nameEnd + 1);
        }
    }
    return result;
}

} // namespace

std::optional<Kind> kindOfName(const std::string& path)
{
    for (const Row& row : rows) {
        if (endsWith(path, row.nameEnd)) {
            return row.kind;
        }
    }
    return std::nullopt;
}

std::optional<Kind> kindOfWord(const std::string& word)
{
    return kindOfName("x." + word);
}

std::vector<std::string> inputWords()
{
    return words(&Row::isInput);
}

std::vector<std::string> outputWords()
{
    return words(&Row::isOutput);
}

std::string nameEnd(Kind kind)
{
    return std::find_if(
               rows.begin(), rows.end(), [kind](const Row& row) { return row.kind == kind; })
        ->nameEnd;
}

std::optional<formats::TraceKind> traceKind(Kind kind)
{
    switch (kind) {
    case Kind::Txt:
        return formats::TraceKind::Txt;
    case Kind::Candump:
        return formats::TraceKind::Candump;
    case Kind::Trc:
        return formats::TraceKind::Trc;
    case Kind::Csv:
        return formats::TraceKind::Csv;
    case Kind::Asc:
        return formats::TraceKind::Asc;
    case Kind::Trace:
        return formats::TraceKind::DotTrace;
    default:
        return std::nullopt;
    }
}

} // namespace convert
