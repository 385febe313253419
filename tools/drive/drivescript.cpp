// SPDX-License-Identifier: GPL-3.0-or-later

// Plays a script of operator actions in the program that loaded this plugin. Qt loads it where
// QT_PLUGIN_PATH names the folder build/<preset>/plugins and QT_QPA_GENERIC_PLUGINS is xcudrive;
// XCU_DRIVE_SCRIPT names the script. The program needs no hook for it.
//
// A line is one command; words are split at blanks, "double quotes" keep blanks, a word that begins
// with # starts a comment. Objects are named by their object names; the table in drivecommands.cpp
// lists the commands. A command that cannot be carried out yet is tried again for 30 s; then the
// script prints the line to standard error and ends the program with exit code 3.
//
// If the script is a named pipe, lines may come at any time, and each one that has been carried out
// is reported on standard error: "drive: line 7 is done".
#include "drivecommands.h"

#include <QElapsedTimer>
#include <QFile>
#include <QGenericPlugin>
#include <QProcess>
#include <QTimer>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int stepMs = 20;
constexpr int patienceMs = 30000;

class DriveScript : public QObject
{
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
    [[noreturn]] static void fail(const Line& line, const QString& reason);

    int source;          // descriptor of the script
    bool isPipe = false; // more may come
    QByteArray unread;   // the beginning of a line
    int linesRead = 0;
    std::vector<Line> lines;
    std::size_t next = 0;
    QElapsedTimer waiting; // since the present line was first tried
};

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
        QStringList words = QProcess::splitCommand(QString::fromUtf8(unread.left(end)));
        unread.remove(0, end + 1);
        ++linesRead;
        words = words.mid(0, words.indexOf(QRegularExpression(QStringLiteral("#.*"))));
        if (words.isEmpty()) {
            continue;
        }
        if (next == lines.size()) {
            lines.clear(); // a pipe may bring lines for days
            next = 0;
            waiting.start(); // not before there is something to wait for
        }
        lines.push_back({linesRead, words});
    }
}

// A timer anew for each step: a repeating one does not tick in the event loop of a modal dialog
// that its own tick has opened.
void DriveScript::scheduleStep()
{
    QTimer::singleShot(stepMs, this, &DriveScript::step);
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
    const bool isPause = line.words[0] == QLatin1String("pause");
    const int pauseMs = isPause ? line.words.value(1).toInt() : 0;
    const DriveResult result =
        isPause ? DriveResult{waiting.elapsed() >= pauseMs} : runDriveCommand(line.words);
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
    if (waiting.elapsed() > patienceMs + pauseMs) {
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

} // namespace

class DrivePlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "xcudrive.json")

public:
    QObject* create(const QString& name, const QString&) override
    {
        if (name.compare(QLatin1String("xcudrive"), Qt::CaseInsensitive) != 0) {
            return nullptr;
        }
        return new DriveScript(qEnvironmentVariable("XCU_DRIVE_SCRIPT"));
    }
};

#include "drivescript.moc"
