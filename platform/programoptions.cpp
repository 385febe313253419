// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/programoptions.h"

#include "platform/diagnostics.h"

#include <QCoreApplication>

namespace platform {

bool answerOptions(int argc, char* argv[], const char* name, const char* purpose)
{
    QCoreApplication::setApplicationVersion(QStringLiteral(XCU_VERSION));
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        if (option == "--version") {
            printLine(name, " " XCU_VERSION);
            return true;
        }
        if (option == "--help") {
            printLine("Usage: ", name, " [Qt options]\n", purpose);
            printLine("  --help     print this and end\n  --version  print the version and end");
            return true;
        }
    }
    return false;
}

} // namespace platform
