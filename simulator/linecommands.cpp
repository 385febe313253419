// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linecommands.h"

#include "simulator/controllerunit.h"
#include "simulator/simulationoptions.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

// Each command of a unit gets the words behind its name, and gives false if they are wrong.
using Words = QStringList;

// Whole numbers, decimal or with 0x in front; nothing if one of the words is none.
std::vector<quint32> toNumbers(const Words& words)
{
    std::vector<quint32> numbers;
    for (const QString& word : words) {
        bool isNumber = false;
        numbers.push_back(word.toUInt(&isNumber, 0));
        if (!isNumber) {
            return {};
        }
    }
    return numbers;
}

bool plug(ControllerUnit& unit, const Words&)
{
    unit.port.plug();
    return true;
}

bool unplug(ControllerUnit& unit, const Words&)
{
    unit.port.unplug();
    return true;
}

bool becomeBootloader(ControllerUnit& unit, const Words&)
{
    unit.port.changeGuise(Guise::Bootloader);
    return true;
}

bool becomeDevice(ControllerUnit& unit, const Words&)
{
    unit.port.changeGuise(Guise::Device);
    return true;
}

bool reset(ControllerUnit& unit, const Words&)
{
    unit.port.changeGuise(unit.controller.guise());
    return true;
}

bool changeFaults(ControllerUnit& unit, const Words& words)
{
    if (words == Words{QStringLiteral("clear")}) {
        unit.controller.faults().clear();
        return true;
    }
    const std::vector<quint32> numbers = toNumbers(words.mid(1));
    if (words.value(0) != QLatin1String("add") || numbers.size() != 5) {
        return false;
    }
    xcu::FaultItem fault;
    fault.set_type(numbers[0]);
    fault.set_mode(numbers[1]);
    fault.set_category(numbers[2]);
    fault.set_fault_id(numbers[3]);
    fault.set_component_id(numbers[4]);
    unit.controller.faults().add(fault);
    return true;
}

bool pushRecords(ControllerUnit& unit, const Words& words)
{
    const std::vector<quint32> numbers = toNumbers(words.isEmpty() ? Words{"1"} : words);
    if (numbers.size() != 1) {
        return false;
    }
    for (quint32 i = 0; i < numbers[0]; ++i) {
        unit.controller.pushRecord();
    }
    return true;
}

bool pushFrame(ControllerUnit& unit, const Words& words)
{
    if (words.isEmpty()) {
        unit.controller.pushFrame();
        return true;
    }
    const std::vector<quint32> numbers = toNumbers(words.mid(0, 2));
    const QByteArray data = QByteArray::fromHex(words.value(2).toLatin1());
    const Words flags = words.mid(3);
    if (numbers.size() != 2 || words.size() < 3) {
        return false;
    }
    xcu::CandumpFrame frame;
    frame.set_bus(static_cast<int>(numbers[0]));
    frame.set_id(static_cast<int>(numbers[1]));
    frame.set_timestamp(static_cast<int>(unit.controller.timeMs()));
    frame.set_data(data.toStdString());
    frame.set_extended(flags.contains(QStringLiteral("extended")));
    frame.set_fd(flags.contains(QStringLiteral("fd")));
    frame.set_brs(flags.contains(QStringLiteral("brs")));
    if (frame.extended() + frame.fd() + frame.brs() != flags.size()) {
        return false;
    }
    unit.controller.pushFrame(frame);
    return true;
}

bool setRate(ControllerUnit& unit, const Words& words)
{
    const double rate = parseRate(words.value(1));
    if (words.size() != 2 || rate < 0) {
        return false;
    }
    if (words[0] == QLatin1String("records")) {
        unit.controller.setRecordRate(rate);
    } else if (words[0] == QLatin1String("frames")) {
        unit.controller.setFrameRate(rate);
    } else {
        return false;
    }
    return true;
}

bool setTrouble(ControllerUnit& unit, const Words& words)
{
    if (words == Words{QStringLiteral("none")}) {
        unit.controller.setTrouble({});
        return true;
    }
    const std::vector<quint32> numbers = toNumbers(words.mid(1));
    if (numbers.size() != 1) {
        return false;
    }
    Trouble trouble = unit.controller.trouble();
    const auto number = static_cast<int>(numbers[0]);
    if (words[0] == QLatin1String("delay")) {
        trouble.delayMs = number;
    } else if (words[0] == QLatin1String("drop")) {
        trouble.dropEvery = number;
    } else if (words[0] == QLatin1String("double")) {
        trouble.doubleEvery = number;
    } else if (words[0] == QLatin1String("garbage")) {
        trouble.garbageEvery = number;
    } else if (words[0] == QLatin1String("split")) {
        trouble.split = number != 0;
    } else {
        return false;
    }
    unit.controller.setTrouble(trouble);
    return true;
}

struct Command
{
    const char* name;
    const char* arguments; // for the help; those in brackets may be left out
    const char* description;
    bool (*run)(ControllerUnit& unit, const Words& words);
};

constexpr Command commands[] = {
    {"plug", "", "Put the cable in.", plug},
    {"unplug", "", "Pull the cable. The controller stays powered by the vehicle.", unplug},
    {"reset", "", "Leave the bus, restart and come back.", reset},
    {"bootloader", "", "Restart as bootloader.", becomeBootloader},
    {"device", "", "Restart as device.", becomeDevice},
    {"record", "[N]", "Send N records of the last session, unasked.", pushRecords},
    {"frame", "BUS ID DATA [extended] [fd] [brs]", "Send a CAN frame; DATA is hexadecimal.",
     pushFrame},
    {"frame", "", "Send the next frame of the CAN traffic.", pushFrame},
    {"fault", "add TYPE MODE CATEGORY ID COMPONENT", "Enter a fault, or a warning with TYPE 1.",
     changeFaults},
    {"fault", "clear", "Empty the fault list.", changeFaults},
    {"rate", "records|frames RATE", "How fast records or frames are pushed.", setRate},
    {"trouble", "delay|drop|double|garbage|split N", "As the options of this name; 0 ends it.",
     setTrouble},
    {"trouble", "none", "End all trouble.", setTrouble},
};

// Those that are not about one unit; they are carried out elsewhere.
constexpr Command generalCommands[] = {
    {"wait", "MS", "Go on with the next line so much later.", nullptr},
    {"stats", "", "Print the counts and write the file for them.", nullptr},
    {"help", "", "Print this.", nullptr},
    {"quit", "", "End the program, and virtual-xcu.", nullptr},
};

void describe(QString& text, const Command& command)
{
    constexpr int column = 44;
    const QString usage = QStringLiteral("  %1 %2").arg(command.name, command.arguments);
    text += usage.leftJustified(column) + QString::fromLatin1(command.description) + '\n';
}

} // namespace

LineCommands::LineCommands(std::vector<ControllerUnit*> controllers, QObject* parent)
    : QObject(parent)
    , units(std::move(controllers))
{}

QString LineCommands::helpText()
{
    QString text = QStringLiteral(
        "\nLine commands. A number in front means that controller alone, counted from 1.\n");
    for (const Command& command : commands) {
        describe(text, command);
    }
    for (const Command& command : generalCommands) {
        describe(text, command);
    }
    return text;
}

QString LineCommands::execute(const QString& line)
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
        meant = {units[number - 1]};
        words.removeFirst();
    }
    const QString name = words.isEmpty() ? QString() : words.takeFirst();
    if (name == QLatin1String("help")) {
        return helpText();
    }
    if (name == QLatin1String("stats")) {
        emit statsWanted();
        return {};
    }
    if (name == QLatin1String("quit")) {
        emit quit();
        return {};
    }
    const auto* command =
        std::find_if(std::begin(commands), std::end(commands), [&](const Command& candidate) {
            return name == QLatin1String(candidate.name);
        });
    if (command == std::end(commands)) {
        return QStringLiteral("unknown command, try help: ") + line;
    }
    const bool takesArguments = command->arguments[0] != '\0';
    for (ControllerUnit* unit : meant) {
        if ((!takesArguments && !words.isEmpty()) || !command->run(*unit, words)) {
            return QStringLiteral("wrong arguments, try help: ") + line;
        }
    }
    return {};
}

} // namespace simulator
