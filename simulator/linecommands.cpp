// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linecommands.h"

#include "simulator/mockedport.h"
#include "simulator/simulationoptions.h"

#include <QFile>
#include <array>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

using namespace simulator;

namespace {

using Words = QStringList;
using Numbers = std::vector<quint32>;

// Carries out a command on one controller; false if the words behind its name are wrong.
using Action = std::function<bool(MockedPort& port, const Words& words)>;

// Whole numbers, decimal or with 0x in front; nothing if one of the words is none.
Numbers toNumbers(const Words& words)
{
    Numbers numbers;
    for (const QString& word : words) {
        bool isNumber = false;
        numbers.push_back(word.toUInt(&isNumber, 0));
        if (!isNumber) {
            return {};
        }
    }
    return numbers;
}

// An action that takes so many numbers.
template <typename Work>
Action with(int count, Work work)
{
    return [=](MockedPort& port, const Words& words) {
        const Numbers numbers = toNumbers(words);
        if (words.size() != count || numbers.size() != std::size_t(count)) {
            return false;
        }
        work(port, numbers);
        return true;
    };
}

Action makeTrouble(int LinkTrouble::*kind)
{
    return with(1, [=](MockedPort& port, const Numbers& numbers) {
        LinkTrouble trouble = port.controller().trouble();
        trouble.*kind = static_cast<int>(numbers[0]);
        port.controller().setTrouble(trouble);
    });
}

Action setRate(void (VirtualController::*operation)(double))
{
    return [=](MockedPort& port, const Words& words) {
        const double rate = parseRate(words.value(0));
        if (words.size() != 1 || rate < 0) {
            return false;
        }
        (port.controller().*operation)(rate);
        return true;
    };
}

void addFault(MockedPort& port, const Numbers& numbers)
{
    xcu::FaultItem fault;
    fault.set_type(numbers[0]);
    fault.set_mode(numbers[1]);
    fault.set_category(numbers[2]);
    fault.set_fault_id(numbers[3]);
    fault.set_component_id(numbers[4]);
    port.controller().faults().push_back(fault);
}

bool pushRecords(MockedPort& port, const Words& words)
{
    const Numbers count = words.isEmpty() ? Numbers{1} : toNumbers(words);
    for (quint32 i = 0; count.size() == 1 && i < count[0]; ++i) {
        port.controller().pushRecord();
    }
    return count.size() == 1;
}

bool pushFrame(MockedPort& port, const Words& words)
{
    if (words.isEmpty()) {
        port.controller().pushFrame();
        return true;
    }
    const Numbers numbers = toNumbers(words.mid(0, 2));
    const Words flags = words.mid(3);
    if (numbers.size() != 2 || words.size() < 3) {
        return false;
    }
    xcu::CandumpFrame frame;
    frame.set_bus(static_cast<int>(numbers[0]));
    frame.set_id(static_cast<int>(numbers[1]));
    frame.set_timestamp(static_cast<int>(port.controller().timeMs()));
    frame.set_data(QByteArray::fromHex(words[2].toLatin1()).toStdString());
    frame.set_extended(flags.contains(QStringLiteral("extended")));
    frame.set_fd(flags.contains(QStringLiteral("fd")));
    frame.set_brs(flags.contains(QStringLiteral("brs")));
    if (frame.extended() + frame.fd() + frame.brs() != flags.size()) {
        return false;
    }
    port.controller().pushFrame(frame);
    return true;
}

struct Command
{
    QString name;          // one word or two
    const char* arguments; // for the help; those in brackets may be left out
    const char* description;
    Action run = nullptr; // null for what is not about one controller and carried out elsewhere
};

const std::vector<Command>& commands()
{
    static const std::vector<Command> table = {
        {"plug", "", "Plug the controller in.", with(0, [](auto& port, auto&) { port.plug(); })},
        {"unplug", "", "Unplug it. It stays powered.",
         with(0, [](auto& port, auto&) { port.unplug(); })},
        {"reset", "", "Restart.",
         with(0, [](auto& port, auto&) { port.restartIn(port.controller().mode()); })},
        {"bootloader", "", "Restart in the bootloader.",
         with(0, [](auto& port, auto&) { port.restartIn(Mode::Bootloader); })},
        {"device", "", "Restart as a device.",
         with(0, [](auto& port, auto&) { port.restartIn(Mode::Device); })},
        {"record", "[N]", "Send N records of the last session without a request.", pushRecords},
        {"frame", "[BUS ID DATA [extended] [fd] [brs]]",
         "Send a CAN frame with DATA in hexadecimal, or the next one of the CAN traffic.",
         pushFrame},
        {"fault add", "TYPE MODE CATEGORY ID COMPONENT", "Add a fault; a TYPE of 1 is a warning.",
         with(5, addFault)},
        {"fault clear", "", "Empty the fault list.",
         with(0, [](auto& port, auto&) { port.controller().faults().clear(); })},
        {"rate records", "RATE", "Rate of records in a passive session.",
         setRate(&VirtualController::setRecordRate)},
        {"rate frames", "RATE", "Rate of frames in a capture.",
         setRate(&VirtualController::setFrameRate)},
        {"trouble delay", "MS", "Delay responses; 0 ends it, as with those below.",
         makeTrouble(&LinkTrouble::delayMs)},
        {"trouble drop", "N", "Lose every nth response.", makeTrouble(&LinkTrouble::dropEvery)},
        {"trouble double", "N", "Send every nth response twice.",
         makeTrouble(&LinkTrouble::doubleEvery)},
        {"trouble garbage", "N", "Send a frame without meaning before every nth response.",
         makeTrouble(&LinkTrouble::garbageEvery)},
        {"trouble split", "N", "Send frames in pieces, unless N is 0.",
         makeTrouble(&LinkTrouble::split)},
        {"trouble none", "", "End all trouble.",
         with(0, [](auto& port, auto&) { port.controller().setTrouble({}); })},
        {"wait", "MS", "Wait before the next line."},
        {"stats", "", "Print the counts and write the file for them."},
        {"help", "", "Print these commands."},
        {"quit", "", "End the program and virtual-xcu."},
    };
    return table;
}

} // namespace

CommandInput::CommandInput(int descriptor, const QByteArray& first)
    : input(descriptor)
    , notifier(descriptor, QSocketNotifier::Read)
    , pending(first)
{
    pause.setSingleShot(true);
    connect(&notifier, &QSocketNotifier::activated, this, &CommandInput::read);
    connect(&pause, &QTimer::timeout, this, &CommandInput::work);
}

CommandInput::~CommandInput()
{
    notifier.setEnabled(false);
    ::close(input);
}

int CommandInput::openPath(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    const bool isPipe = ::stat(name.constData(), &status) == 0 && S_ISFIFO(status.st_mode);
    return ::open(name.constData(), (isPipe ? O_RDWR : O_RDONLY) | O_CLOEXEC);
}

void CommandInput::read()
{
    std::array<char, 4096> buffer;
    const ssize_t size = ::read(input, buffer.data(), buffer.size());
    if (size > 0) {
        pending.append(buffer.data(), static_cast<int>(size));
    } else {
        notifier.setEnabled(false);
        pending.append('\n'); // the last line may lack its end
    }
    work();
}

void CommandInput::work()
{
    int end = 0;
    while (!pause.isActive() && (end = pending.indexOf('\n')) >= 0) {
        const QString text = QString::fromUtf8(pending.left(end)).simplified();
        pending.remove(0, end + 1);
        if (text.section(' ', 0, 0) == QLatin1String("wait")) {
            pause.start(qMax(0, text.section(' ', 1).toInt()));
        } else {
            emit line(text);
        }
    }
}

QString simulator::commandsHelp()
{
    constexpr int column = 44;
    QString text = QStringLiteral(
        "\nLine commands. With a number in front, for that controller only, counted from 1.\n");
    for (const Command& command : commands()) {
        const QString usage = QStringLiteral("  %1 %2").arg(command.name, command.arguments);
        text += usage.leftJustified(column) + QString::fromLatin1(command.description) + '\n';
    }
    return text;
}

QString simulator::executeCommand(const MockedPorts& ports, const QString& line)
{
    Words words = line.simplified().split(' ', Qt::SkipEmptyParts);
    if (words.isEmpty() || words[0].startsWith('#')) {
        return {};
    }
    bool hasNumber = false;
    const unsigned int number = words[0].toUInt(&hasNumber);
    if (hasNumber) {
        if (number < 1 || number > ports.size()) {
            return QStringLiteral("no such controller: ") + line;
        }
        words.removeFirst();
    }
    const QString name = words.value(0);
    if (name == QLatin1String("help")) {
        return commandsHelp();
    }
    const QString firstTwo = words.mid(0, 2).join(' ');
    for (const Command& command : commands()) {
        if (!command.run || (command.name != name && command.name != firstTwo)) {
            continue;
        }
        words = words.mid(command.name.count(' ') + 1);
        for (std::size_t i = 0; i < ports.size(); ++i) {
            if ((!hasNumber || i == number - 1) && !command.run(*ports[i], words)) {
                return QStringLiteral("wrong arguments, try help: ") + line;
            }
        }
        return {};
    }
    return QStringLiteral("unknown command, try help: ") + line;
}
