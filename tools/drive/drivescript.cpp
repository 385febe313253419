// SPDX-License-Identifier: GPL-3.0-or-later
#include "drivescript.h"

#include <QApplication>
#include <QFile>
#include <QTimer>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kStepMs = 20;
constexpr int kPatienceMs = 30000;

// The words of one line; none for a blank line or a comment.
QStringList wordsOf(const QString& line)
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

} // namespace

DriveScript::DriveScript(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    isPipe = ::stat(name.constData(), &status) == 0 && S_ISFIFO(status.st_mode);
    // Opened for writing as well, a pipe does not end when a writer leaves.
    source = ::open(name.constData(), (isPipe ? O_RDWR | O_NONBLOCK : O_RDONLY) | O_CLOEXEC);
    if (source < 0) {
        fail({0, {path}}, QStringLiteral("the script cannot be read"));
    }
    readOn();
    scheduleStep();
}

void DriveScript::readOn()
{
    std::array<char, 4096> buffer;
    for (ssize_t size = 0; (size = ::read(source, buffer.data(), buffer.size())) > 0;) {
        unread.append(buffer.data(), static_cast<int>(size));
    }
    if (!isPipe && !unread.isEmpty()) {
        unread.append('\n'); // the last line may lack its end
    }
    for (int end = 0; (end = unread.indexOf('\n')) >= 0;) {
        const QStringList parts = wordsOf(QString::fromUtf8(unread.left(end)));
        unread.remove(0, end + 1);
        ++linesRead;
        if (parts.isEmpty()) {
            continue;
        }
        if (next == lines.size()) {
            lines.clear(); // a pipe may bring lines for days
            next = 0;
            waiting.start(); // not before there is something to wait for
        }
        lines.push_back({linesRead, parts});
    }
}

// A timer anew for each step: a repeating one does not tick in the event loop of a modal dialog
// that its own tick has opened.
void DriveScript::scheduleStep()
{
    QTimer::singleShot(kStepMs, this, &DriveScript::step);
}

void DriveScript::step()
{
    if (isPipe) {
        readOn();
    }
    if (isPipe || next < lines.size()) {
        scheduleStep();
    }
    if (next == lines.size()) {
        return;
    }
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
        if (isPipe) {
            std::fprintf(stderr, "drive: line %d is done\n", line.number);
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
