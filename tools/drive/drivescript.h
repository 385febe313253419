// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "drivecommands.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <vector>

// Plays a script of operator actions in the program that loaded the plugin. Qt loads it where
// QT_PLUGIN_PATH names the folder build/<preset>/plugins and QT_QPA_GENERIC_PLUGINS is xcudrive;
// XCU_DRIVE_SCRIPT names the script.
//
// A line is one command; words are split at blanks, "double quotes" keep blanks, # starts a
// comment. Objects are named by their object names; the table in drivecommands.cpp lists the
// commands. A command that cannot be carried out yet is tried again for 30 s; then the script
// prints the line to standard error and ends the program with exit code 3.
//
// If the script is a named pipe, lines may come at any time, and each one that has been carried out
// is reported on standard error: "drive: line 7 is done".
class DriveScript : public QObject
{
    Q_OBJECT

public:
    explicit DriveScript(const QString& path);

private:
    struct Line
    {
        int number;
        QStringList words;
    };

    void readOn();
    void scheduleStep();
    void step();
    void fail(const Line& line, const QString& reason);

    int source;          // descriptor of the script
    bool isPipe = false; // more may come
    QByteArray unread;   // the beginning of a line
    int linesRead = 0;
    std::vector<Line> lines;
    std::size_t next = 0;
    QElapsedTimer waiting; // since the present line was first tried
};
