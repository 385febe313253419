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
    Row{"mf4", Kind::Mdf4, Out, {}},
    Row{"xcu", Kind::Backup, In, {}},
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
    const auto* const row =
        std::find_if(rows.begin(), rows.end(), [&](const Row& it) { return it.word == word; });
    return row == rows.end() ? std::nullopt : std::optional(row->kind);
}

std::string wordsOf(Use use)
{
    std::string words;
    for (const Row& row : rows) {
        if ((row.use & use) != 0) {
            words += (words.empty() ? "" : ", ") + std::string(row.word);
        }
    }
    return words;
}

std::string wordOf(Kind kind)
{
    return rowOf(kind).word;
}

bool isOf(Kind kind, Use use)
{
    return (rowOf(kind).use & use) != 0;
}

bool isContainer(Kind kind)
{
    return kind == Kind::Hdf5 || kind == Kind::Mdf4;
}

std::optional<TraceKind> traceKind(Kind kind)
{
    return rowOf(kind).trace;
}

} // namespace convert
