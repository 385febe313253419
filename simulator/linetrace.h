// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>

namespace simulator {

struct ControllerUnit;

// Writes down all that happens on the lines, as it happens, a line of text each:
//
//   1764037750123 XCU0001 in 08000000080198010a...
//
// Milliseconds since 1970, the controller's serial number, and what it was: "in" and "out" with the
// bytes from and to the program, cut anywhere; "plugged", "gone", "opened", "closed". Half a frame
// ahead of one of these is never completed. Commands from an operator stand as "- told <line>".
class LineTrace
{
public:
    // Writes nothing if the path is empty.
    explicit LineTrace(const QString& path);

    // False if the file cannot be written.
    bool isUsable() const { return file.fileName().isEmpty() || file.isOpen(); }

    // The trace has to outlive the unit.
    void follow(ControllerUnit& unit);
    void add(const QString& who, const char* what, const QByteArray& details = {});

private:
    QFile file;
};

} // namespace simulator
