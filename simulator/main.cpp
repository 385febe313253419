// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linecommands.h"
#include "simulator/mockedport.h"
#include "simulator/simulationoptions.h"
#include "simulator/testbed.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QProcess>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <utility>
#include <vector>

using namespace simulator;

namespace {

// Exit codes, as a shell gives them.
constexpr int cannotRun = 127;
constexpr int signalBase = 128; // plus the number of the signal that ended the program

std::array<int, 2> signalPipe;

void handleSignal(int /*number*/, siginfo_t* info, void* /*context*/)
{
    // A signal handler may call nothing but such plain system calls.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], info, sizeof *info);
}

// Standard output belongs to the program that runs.
void report(const QString& text)
{
    QTextStream(stderr) << "virtual-xcu: " << text << '\n';
}

// A count a line: serial number, colon, name of the count, number. Commands stand by their names in
// the schema; those that never came are left out.
QString statisticsOf(const MockedPorts& ports)
{
    QString text;
    for (const auto& port : ports) {
        const VirtualController& controller = port->controller();
        const auto add = [&](const QString& name, quint64 count) {
            const QString& who = controller.options().serialNumber;
            text += QStringLiteral("%1: %2 %3\n").arg(who, name, QString::number(count));
        };
        const auto& members = *xcu::Command::descriptor()->oneof_decl(0);
        for (int i = 0; i < members.field_count(); ++i) {
            const google::protobuf::FieldDescriptor& member = *members.field(i);
            const auto number = static_cast<xcu::Command::ReqCase>(member.number());
            if (const int count = controller.count(number)) {
                add("received " + QString::fromStdString(member.name()), count);
            }
        }
        add(QStringLiteral("broken payloads received"), controller.brokenPayloads());
        add(QStringLiteral("responses sent"), controller.responsesSent());
        add(QStringLiteral("records sent"), controller.recordsSent());
        add(QStringLiteral("frames sent"), controller.framesSent());
    }
    return text;
}

// All of virtual-xcu: controllers on a bus, the program that uses them, if any, and line commands.
// A process has one such object at the most, as it catches the process's signals.
//
// With a trace it writes down all that happens on the serial lines, as it happens; the format is in
// the manual page. Bytes are cut anywhere; half a frame ahead of any other event is never
// completed.
class Simulation : public QObject
{
public:
    explicit Simulation(SimulationOptions wanted)
        : options(std::move(wanted))
        , trace(options.tracePath)
    {}

    // Runs the application and gives its exit code.
    int run();

private:
    void addController(const ControllerOptions& options);
    void tracePort(const MockedPort& port, const QString& who);
    void writeTrace(const QString& who, const char* what, const QByteArray& details = {});
    bool listenTo(int descriptor, const QByteArray& firstLines = {});
    void carryOut(const QString& line);
    void printEnvironment();
    void startProgram();
    void catchSignals();
    void stop(int exitCode, int signalNumber);
    void writeStatistics() const;

    SimulationOptions options;
    QFile trace;
    Testbed testbed;
    MockedPorts ports;
    std::vector<std::unique_ptr<CommandInput>> inputs;
    QProcess program;
};

int Simulation::run()
{
    const auto refuse = [](const QString& reason) {
        report(reason);
        return wrongUsage;
    };
    const QString& commands = options.commandsPath;
    if (!commands.isEmpty() && !listenTo(CommandInput::openPath(commands))) {
        return refuse("no commands can be read from " + commands);
    }
    if (!trace.fileName().isEmpty() && !trace.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        return refuse("the trace cannot be written to " + trace.fileName());
    }
    catchSignals();
    for (const ControllerOptions& controller : options.controllers) {
        addController(controller);
    }
    if (!options.commands.isEmpty()) {
        listenTo(CommandInput::openPath("/dev/null"), options.commands.join('\n').toUtf8());
    }
    if (options.interactive) {
        listenTo(::dup(STDIN_FILENO));
    }
    const auto start =
        options.program.isEmpty() ? &Simulation::printEnvironment : &Simulation::startProgram;
    QTimer::singleShot(0, this, start);
    const int exitCode = QCoreApplication::exec();
    writeStatistics();
    return exitCode;
}

void Simulation::addController(const ControllerOptions& controller)
{
    ports.push_back(std::make_unique<MockedPort>(testbed, controller));
    MockedPort& port = *ports.back();
    const QString who = controller.serialNumber + " on " + port.name();
    connect(&port, &MockedPort::plugged, this, [=] { report(who + " is plugged in"); });
    connect(&port, &MockedPort::unplugged, this, [=] { report(who + " is gone"); });
    if (trace.isOpen()) {
        tracePort(port, controller.serialNumber);
    }
    port.plug();
}

void Simulation::tracePort(const MockedPort& port, const QString& who)
{
    const auto follow = [&](auto signal, const char* what) {
        connect(&port, signal, this, [=](const auto&... bytes) {
            writeTrace(who, what, bytes.toHex()...);
        });
    };
    follow(&MockedPort::plugged, "plugged");
    follow(&MockedPort::unplugged, "gone");
    follow(&MockedPort::received, "in");
    follow(&MockedPort::sent, "out");
    connect(&port, &MockedPort::useChanged, this, [=](bool isInUse) {
        writeTrace(who, isInUse ? "opened" : "closed");
    });
}

void Simulation::writeTrace(const QString& who, const char* what, const QByteArray& details)
{
    if (!trace.isOpen()) {
        return;
    }
    QByteArray line = QByteArray::number(QDateTime::currentMSecsSinceEpoch());
    line += ' ' + who.toUtf8() + ' ' + what;
    if (!details.isEmpty()) {
        line += ' ' + details;
    }
    trace.write(line + '\n');
}

bool Simulation::listenTo(int descriptor, const QByteArray& firstLines)
{
    if (descriptor < 0) {
        return false;
    }
    inputs.push_back(std::make_unique<CommandInput>(descriptor, firstLines));
    connect(inputs.back().get(), &CommandInput::line, this, &Simulation::carryOut);
    return true;
}

void Simulation::carryOut(const QString& line)
{
    writeTrace(QStringLiteral("-"), "command", line.toUtf8());
    if (line == QLatin1String("quit")) {
        stop(0, SIGTERM);
    } else if (line == QLatin1String("stats")) {
        QTextStream(stderr) << statisticsOf(ports);
        writeStatistics();
    } else {
        const QString result = executeCommand(ports, line);
        if (!result.isEmpty()) {
            report(result);
        }
    }
}

void Simulation::printEnvironment()
{
    QTextStream out(stdout);
    for (const QString& variable : testbed.addTo({}).toStringList()) {
        out << "export " << variable << '\n';
    }
}

// The program gets the standard channels of virtual-xcu itself, but no input where commands come on
// that.
void Simulation::startProgram()
{
    const auto ended = QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished);
    connect(&program, ended, this, [](int code, QProcess::ExitStatus status) {
        QCoreApplication::exit(status == QProcess::NormalExit ? code : signalBase + code);
    });
    connect(&program, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            report(program.program() + ": " + program.errorString());
            QCoreApplication::exit(cannotRun);
        }
    });
    program.setProcessEnvironment(testbed.addTo(QProcessEnvironment::systemEnvironment()));
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    if (options.interactive) {
        program.setStandardInputFile(QProcess::nullDevice());
    } else {
        program.setInputChannelMode(QProcess::ForwardedInputChannel);
    }
    program.start(options.program.first(), options.program.mid(1));
}

// SIGHUP, SIGINT and SIGTERM become events.
void Simulation::catchSignals()
{
    if (::pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("No pipe for signals");
    }
    auto* arrival = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(arrival, &QSocketNotifier::activated, this, [this] {
        siginfo_t caught = {};
        while (::read(signalPipe[0], &caught, sizeof caught) == sizeof caught) {
            // A terminal, whose signals come from the kernel, has signalled the program as well,
            // and twice may mean more than once.
            if (caught.si_code != SI_KERNEL || program.state() == QProcess::NotRunning) {
                stop(signalBase + caught.si_signo, caught.si_signo);
            }
        }
    });
    struct sigaction action = {};
    action.sa_sigaction = handleSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        ::sigaction(number, &action, nullptr);
    }
}

void Simulation::stop(int exitCode, int signalNumber)
{
    if (program.state() == QProcess::NotRunning) {
        QCoreApplication::exit(exitCode);
    } else {
        ::kill(static_cast<pid_t>(program.processId()), signalNumber);
    }
}

void Simulation::writeStatistics() const
{
    if (options.statsPath.isEmpty()) {
        return;
    }
    QFile file(options.statsPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ||
        file.write(statisticsOf(ports).toUtf8()) < 0) {
        report("the counts cannot be written to " + options.statsPath);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("virtual-xcu"));
    QCoreApplication::setApplicationVersion(QStringLiteral(XCU_VERSION));

    return Simulation(parseCommandLine(QCoreApplication::arguments())).run();
}
