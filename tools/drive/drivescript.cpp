// SPDX-License-Identifier: GPL-3.0-or-later
#include "drivescript.h"

#include "drivecommands.h"

#include <QApplication>
#include <QFile>
#include <QTextStream>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace {
constexpr int kStepMs = 20;
constexpr int kPatienceMs = 30000;
} // namespace

DriveScript::DriveScript(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail({0, {path}}, QStringLiteral("the script cannot be read"));
    }
    QTextStream stream(&file);
    for (int number = 1; !stream.atEnd(); ++number) {
        const QStringList parts = words(stream.readLine());
        if (!parts.isEmpty()) {
            lines.push_back({number, parts});
        }
    }
    scheduleStep();
    waiting.start();
}

QStringList DriveScript::words(const QString& line)
{
    QStringList result;
    QString word;
    bool quoted = false;
    bool open = false;
    for (const QChar c : line) {
        if (c == QLatin1Char('"')) {
            quoted = !quoted;
            open = true;
        } else if (!quoted && c == QLatin1Char('#') && !open) {
            break;
        } else if (!quoted && c.isSpace()) {
            if (open) {
                result.append(word);
            }
            word.clear();
            open = false;
        } else {
            word.append(c);
            open = true;
        }
    }
    if (open) {
        result.append(word);
    }
    return result;
}

// A timer anew for each step: a repeating one does not tick in the event loop of a modal dialog
// that its own tick has opened.
void DriveScript::scheduleStep()
{
    QTimer::singleShot(kStepMs, this, &DriveScript::step);
}

void DriveScript::step()
{
    if (next >= lines.size()) {
        return;
    }
    scheduleStep();
    // A click may open a modal dialog and return only when a later line has closed it, so the line
    // counts as done before it is carried out.
    const std::size_t current = next++;
    const Line line = lines[current];
    const DriveResult result = runDriveCommand(line.words, waiting.elapsed());
    if (!result.error.isEmpty()) {
        fail(line, result.error);
    }
    if (result.done) {
        if (next == current + 1) {
            waiting.restart();
        }
        return;
    }
    next = current;
    if (waiting.elapsed() > kPatienceMs + result.extraPatienceMs) {
        fail(line, QStringLiteral("waited in vain"));
    }
}

void DriveScript::fail(const Line& line, const QString& reason)
{
    std::fprintf(
        stderr, "drive: line %d: %s: %s\n", line.number,
        qPrintable(line.words.join(QLatin1Char(' '))), qPrintable(reason));
    std::exit(3);
}
