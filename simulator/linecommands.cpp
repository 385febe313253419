// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linecommands.h"

#include "simulator/mockedport.h"
#include "simulator/simulationoptions.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using namespace simulator;

namespace {

using Words = QStringList;
using Numbers = std::vector<quint32>;

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

// Carries out a command that has so many numbers behind its name; false if they are not there.
template <std::size_t count, void (*operation)(ControllerUnit&, const Numbers&)>
bool with(ControllerUnit& unit, const Words& words)
{
    const Numbers numbers = toNumbers(words);
    if (numbers.size() != count || std::size_t(words.size()) != count) {
        return false;
    }
    operation(unit, numbers);
    return true;
}

template <void (MockedPort::*operation)()>
void onPort(ControllerUnit& unit, const Numbers&)
{
    (unit.port.*operation)();
}

template <Guise guise>
void restartAs(ControllerUnit& unit, const Numbers&)
{
    unit.port.changeGuise(guise);
}

void reset(ControllerUnit& unit, const Numbers&)
{
    unit.port.changeGuise(unit.controller.guise());
}

void addFault(ControllerUnit& unit, const Numbers& numbers)
{
    xcu::FaultItem fault;
    fault.set_type(numbers[0]);
    fault.set_mode(numbers[1]);
    fault.set_category(numbers[2]);
    fault.set_fault_id(numbers[3]);
    fault.set_component_id(numbers[4]);
    unit.controller.faults().push_back(fault);
}

void clearFaults(ControllerUnit& unit, const Numbers&)
{
    unit.controller.faults().clear();
}

template <int Trouble::*member>
void setTrouble(ControllerUnit& unit, const Numbers& numbers)
{
    Trouble trouble = unit.controller.trouble();
    trouble.*member = static_cast<int>(numbers[0]);
    unit.controller.setTrouble(trouble);
}

void endTrouble(ControllerUnit& unit, const Numbers&)
{
    unit.controller.setTrouble({});
}

void pushRecords(ControllerUnit& unit, const Numbers& numbers)
{
    for (quint32 i = 0; i < numbers[0]; ++i) {
        unit.controller.pushRecord();
    }
}

bool oneRecordOrMore(ControllerUnit& unit, const Words& words)
{
    return with<1, pushRecords>(unit, words.isEmpty() ? Words{"1"} : words);
}

bool pushFrame(ControllerUnit& unit, const Words& words)
{
    if (words.isEmpty()) {
        unit.controller.pushFrame();
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
    frame.set_timestamp(static_cast<int>(unit.controller.timeMs()));
    frame.set_data(QByteArray::fromHex(words[2].toLatin1()).toStdString());
    frame.set_extended(flags.contains(QStringLiteral("extended")));
    frame.set_fd(flags.contains(QStringLiteral("fd")));
    frame.set_brs(flags.contains(QStringLiteral("brs")));
    if (frame.extended() + frame.fd() + frame.brs() != flags.size()) {
        return false;
    }
    unit.controller.pushFrame(frame);
    return true;
}

template <void (VirtualController::*operation)(double)>
bool setRate(ControllerUnit& unit, const Words& words)
{
    const double rate = parseRate(words.value(0));
    if (words.size() != 1 || rate < 0) {
        return false;
    }
    (unit.controller.*operation)(rate);
    return true;
}

// A command gets the words behind its name, and gives false if they are wrong.
struct Command
{
    const char* name;      // one word or two
    const char* arguments; // for the help; those in brackets may be left out
    const char* description;
    bool (*run)(ControllerUnit& unit, const Words& words);
};

constexpr Command commands[] = {
    {"plug", "", "Plug the cable in.", with<0, onPort<&MockedPort::plug>>},
    {"unplug", "", "Pull the cable. The controller stays powered.",
     with<0, onPort<&MockedPort::unplug>>},
    {"reset", "", "Restart.", with<0, reset>},
    {"bootloader", "", "Restart in the bootloader.", with<0, restartAs<Guise::Bootloader>>},
    {"device", "", "Restart as a device.", with<0, restartAs<Guise::Device>>},
    {"record", "[N]", "Send N records of the last session without a request.", oneRecordOrMore},
    {"frame", "[BUS ID DATA [extended] [fd] [brs]]",
     "Send a CAN frame with DATA in hexadecimal, or the next one of the CAN traffic.", pushFrame},
    {"fault add", "TYPE MODE CATEGORY ID COMPONENT", "Add a fault; a TYPE of 1 is a warning.",
     with<5, addFault>},
    {"fault clear", "", "Empty the fault list.", with<0, clearFaults>},
    {"rate records", "RATE", "Rate of records in a passive session.",
     setRate<&VirtualController::setRecordRate>},
    {"rate frames", "RATE", "Rate of frames in a capture.",
     setRate<&VirtualController::setFrameRate>},
    {"trouble delay", "MS", "Delay responses; 0 ends this trouble and those below.",
     with<1, setTrouble<&Trouble::delayMs>>},
    {"trouble drop", "N", "Lose every nth response.", with<1, setTrouble<&Trouble::dropEvery>>},
    {"trouble double", "N", "Send every nth response twice.",
     with<1, setTrouble<&Trouble::doubleEvery>>},
    {"trouble garbage", "N", "Send a frame without meaning before every nth response.",
     with<1, setTrouble<&Trouble::garbageEvery>>},
    {"trouble split", "N", "Send frames in pieces, unless N is 0.",
     with<1, setTrouble<&Trouble::split>>},
    {"trouble none", "", "End all trouble.", with<0, endTrouble>},
};

// Those that are not about one unit; they are carried out elsewhere.
constexpr Command generalCommands[] = {
    {"wait", "MS", "Wait before the next line.", nullptr},
    {"stats", "", "Print the counts and write the file for them.", nullptr},
    {"help", "", "Print these commands.", nullptr},
    {"quit", "", "End the program and virtual-xcu.", nullptr},
};

void describe(QString& text, const Command& command)
{
    constexpr int column = 44;
    const QString usage = QStringLiteral("  %1 %2").arg(command.name, command.arguments);
    text += usage.leftJustified(column) + QString::fromLatin1(command.description) + '\n';
}

} // namespace

CommandInput::CommandInput(int descriptor, QObject* parent)
    : QObject(parent)
    , input(descriptor)
    , notifier(descriptor, QSocketNotifier::Read)
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
    QString text = QStringLiteral(
        "\nLine commands. With a number in front, for that controller only, counted from 1.\n");
    for (const Command& command : commands) {
        describe(text, command);
    }
    for (const Command& command : generalCommands) {
        describe(text, command);
    }
    return text;
}

QString simulator::executeCommand(const std::vector<ControllerUnit*>& units, const QString& line)
{
    Words words = line.simplified().split(' ', Qt::SkipEmptyParts);
    if (words.isEmpty() || words[0].startsWith('#')) {
        return {};
    }
    std::vector<ControllerUnit*> meant = units;
    bool hasNumber = false;
    const unsigned int number = words[0].toUInt(&hasNumber);
    if (hasNumber) {
        if (number < 1 || number > units.size()) {
            return QStringLiteral("no such controller: ") + line;
        }
        meant.assign(1, units[number - 1]);
        words.removeFirst();
    }
    const QString name = words.value(0);
    if (name == QLatin1String("help")) {
        return commandsHelp();
    }
    const QString firstTwo = words.mid(0, 2).join(' ');
    const auto isMeant = [&](const Command& candidate) {
        return name == QLatin1String(candidate.name) || firstTwo == QLatin1String(candidate.name);
    };
    const auto* command = std::find_if(std::begin(commands), std::end(commands), isMeant);
    if (command == std::end(commands)) {
        return QStringLiteral("unknown command, try help: ") + line;
    }
    words = words.mid(name == QLatin1String(command->name) ? 1 : 2);
    for (ControllerUnit* unit : meant) {
        if (!command->run(*unit, words)) {
            return QStringLiteral("wrong arguments, try help: ") + line;
        }
    }
    return {};
}
