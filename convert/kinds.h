// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/stricttraces.h"

#include <optional>
#include <string>

namespace convert {

// What a file is, by its name or by --from and --to.
enum class Kind { Log, Blackbox, Txt, Candump, Trc, Csv, Asc, Trace, Hdf5, Mdf4, Backup };

// By the end of the name, whatever its case; none if that tells nothing.
std::optional<Kind> kindOfName(const std::string& path);

// By the word that --from and --to take: the usual end of a name without its dot.
std::optional<Kind> kindOfWord(const std::string& word);

enum Use { In = 1, Out = 2, Both = In | Out };
std::string wordsOf(Use use); // "log, rbx, ..."

std::string wordOf(Kind kind); // the usual one

bool isOf(Kind kind, Use use);
bool isContainer(Kind kind); // takes several inputs of one drive

// The reader of a CAN trace in text form; none for other kinds.
std::optional<formats::TraceKind> traceKind(Kind kind);

} // namespace convert
