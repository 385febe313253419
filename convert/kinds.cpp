// SPDX-License-Identifier: GPL-3.0-or-later
#include "convert/kinds.h"

#include <QByteArray>
#include <algorithm>
#include <array>
#include <filesystem>

namespace convert {

namespace {

using formats::TraceKind;

struct Row
{
    const char* word;
    Kind kind;
    Use use;
    std::optional<TraceKind> trace;
};

// The first row of a kind has the usual word.
constexpr std::array rows{
    Row{"log", Kind::Log, In, {}},
    Row{"rbx", Kind::Blackbox, In, {}},
    Row{"txt", Kind::Txt, In, TraceKind::Txt},
    Row{"candump", Kind::Candump, Both, TraceKind::Candump},
    Row{"trc", Kind::Trc, In, TraceKind::Trc},
    Row{"csv", Kind::Csv, Both, TraceKind::Csv},
    Row{"asc", Kind::Asc, Both, TraceKind::Asc},
    Row{"trace", Kind::Trace, In, TraceKind::DotTrace},
    Row{"h5", Kind::Hdf5, Out, {}},
    Row{"hdf5", Kind::Hdf5, Out, {}},
    Row{"xcu", Kind::Backup, In, {}},
    Row{"dbc", Kind::Database, In, {}},
    Row{"arxml", Kind::Database, In, {}},
    Row{"kcd", Kind::Database, In, {}},
    Row{"xlsx", Kind::Database, In, {}},
};

const Row& rowOf(Kind kind)
{
    return *std::find_if(
        rows.begin(), rows.end(), [kind](const Row& row) { return row.kind == kind; });
}

} // namespace

std::optional<Kind> kindOfName(const std::string& path)
{
    const std::string end = std::filesystem::path(path).extension();
    return kindOfWord(QByteArray::fromStdString(end).mid(1).toLower().toStdString());
}

std::optional<Kind> kindOfWord(const std::string& word)
{
    for (const Row& row : rows) {
        if (row.word == word) {
            return row.kind;
        }
    }
    return std::nullopt;
}

std::vector<std::string> wordsOf(Use use)
{
    std::vector<std::string> words;
    for (const Row& row : rows) {
        if ((row.use & use) != 0) {
            words.emplace_back(row.word);
        }
    }
    return words;
}

std::string wordOf(Kind kind)
{
    return rowOf(kind).word;
}

bool isOutput(Kind kind)
{
    return (rowOf(kind).use & Out) != 0;
}

std::optional<TraceKind> traceKind(Kind kind)
{
    return rowOf(kind).trace;
}

} // namespace convert
