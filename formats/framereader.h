// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/stricttraces.h"

#include <string>
#include <string_view>

namespace formats {

// Makes frames of the lines of a trace; for readFrames().
class FrameReader
{
public:
    // A .csv of xcu-convert itself is read by other rules than those of the .csv kind.
    FrameReader(
        TraceKind kind, bool isOwnCsv, const FrameFunction& takeFrame,
        const WarningFunction& warnFunction);

    void readLine(std::string_view line, std::int64_t number);

    std::int64_t count = 0; // of frames

private:
    enum Outcome { Frame, NoFrame, Nonsense };
    static Outcome frameIf(bool makesSense) { return makesSense ? Frame : Nonsense; }

    // By kind; `line` has no white space at its ends.
    Outcome parse(std::string_view line);
    Outcome parseTxt(TraceFields& fields);
    Outcome parseCandump(std::string_view line);
    Outcome parseTrc(TraceFields& fields);
    Outcome parseCsv(TraceFields& fields);
    Outcome parseOwnCsv(std::string_view line);
    Outcome parseAsc(TraceFields& fields);
    Outcome parseDotTrace(TraceFields& fields);
    void readAscHeader(TraceFields& fields);

    // These put a field into the frame. False for what is none.
    bool setTime(std::string_view text);
    bool setId(std::string_view text, int idBase, std::size_t standardDigits);
    bool setHex(std::string_view text);
    bool setWords(std::string_view words, int length, int wordBase);
    bool setRemote(int length);
    void checkLength(const TraceFields& fields);

    const TraceKind kind;
    const bool isOwn;
    const FrameFunction& take;
    const WarningFunction& warn;
    TraceFrame frame;
    std::int64_t lineNumber = 0;
    std::string scratch;
    int days = 0; // .txt: midnights passed
    double lastTime = 0.0;
    int base = 16; // of identifiers and bytes in an .asc file
    bool hasRelativeTimes = false;
};

} // namespace formats
