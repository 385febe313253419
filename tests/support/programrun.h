// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/testhome.h"

#include <QProcess>
#include <QtTest>

// Runs real programs with virtual controllers attached, in a throw-away home, while a script plays
// the operator (tools/drive).
class ProgramRun
{
public:
    TestHome home;

    // What virtual-xcu runs; its exit code comes back, or -1 for a crash or a run without end.
    int run(const QStringList& options, const QString& program, const QStringList& script)
    {
        write("script", script);
        qputenv("XCU_DRIVE_SCRIPT", "script");
        return run(options + QStringList{"--stats", "stats", "--", XCU_BIN_DIR "/" + program});
    }

    // virtual-xcu with these arguments. Programs find their scripts by XCU_DRIVE_SCRIPT.
    int run(const QStringList& arguments)
    {
        qputenv("QT_PLUGIN_PATH", XCU_BIN_DIR "/../plugins");
        qputenv("QT_QPA_GENERIC_PLUGINS", "xcudrive");
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(XCU_BIN_DIR "/virtual-xcu", arguments);
        if (!process.waitForFinished(90000)) {
            process.kill();
            process.waitForFinished();
            return -1;
        }
        output = process.readAllStandardOutput();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    void write(const QString& name, const QStringList& lines) const
    {
        home.write(name, lines.join('\n').toUtf8());
    }

    // A count of the controllers, summed over them, such as "records sent".
    qint64 count(const QString& what)
    {
        qint64 sum = 0;
        for (const QByteArray& line : contents(home.root().filePath("stats")).split('\n')) {
            const QString text = QString::fromUtf8(line).section(": ", 1);
            if (text.startsWith(what + ' ')) {
                sum += text.section(' ', -1).toLongLong();
            }
        }
        return sum;
    }

    QStringList files(const QString& pattern) const { return home.files(pattern); }
    static QByteArray contents(const QString& path) { return ::contents(path); }

    QByteArray output; // what the program traced
};
