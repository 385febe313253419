// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulationoptions.h"

#include "simulator/linecommands.h"

#include <QCommandLineParser>
#include <QTextStream>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>

using namespace simulator;

namespace {

constexpr const char* description = R"(
Starts PROGRAM with virtual controllers on a mocked USB bus. The program sees them
as serial ports through the ordinary system interfaces; no other program sees them.
When it ends, virtual-xcu ends with its exit code, or with 128 + n if signal n ended
it. SIGINT and SIGTERM are passed on.

Without a PROGRAM it prints the environment variables that let a program see the
controllers, and runs until the command quit or a signal.

Rates are in items per second, or the word "flood": as fast as the serial line takes
them. The same options always give the same controller; random values depend only on
the seed.)";

constexpr qint64 anyNumber = std::numeric_limits<int>::max();

// What is said of all controllers together.
struct Common
{
    ControllerOptions options;
    int controllers = 1;
    QStringList serialNumbers;
    int maps = static_cast<int>(options.maps.size());
    QSize mapSize; // of all maps; invalid for the usual ones
    int faults = 3;
};

struct Option
{
    QString name;
    QString description;
    QString value;                           // what the value is; empty for a switch
    std::function<bool(const QString&)> set; // false if the text of the value makes no sense
};

template <typename Number>
Option number(
    const char* name, const char* text, const char* value, Number& target, qint64 least = 0,
    qint64 most = anyNumber)
{
    const auto set = [=, &target](const QString& word) {
        bool isNumber = false;
        const qint64 read = word.toLongLong(&isNumber);
        target = static_cast<Number>(read);
        return isNumber && read >= least && read <= most;
    };
    return {name, QStringLiteral("%1 [%2]").arg(text).arg(target), value, set};
}

Option rate(const char* name, const char* text, double& target)
{
    const auto set = [&](const QString& word) { return (target = parseRate(word)) >= 0; };
    return {name, QStringLiteral("%1 [%2]").arg(text).arg(target), "rate", set};
}

Option path(const char* name, const char* text, QString& target)
{
    return {name, text, "path", [&](const QString& word) { return target = word, true; }};
}

template <typename Value>
Option flag(const char* name, const char* text, Value& target, Value value)
{
    return {name, text, {}, [=, &target](const QString&) { return target = value, true; }};
}

// The targets hold the defaults until the command line is read.
std::vector<Option> knownOptions(SimulationOptions& all, Common& common)
{
    ControllerOptions& unit = common.options;
    const auto addTo = [](QStringList& list) {
        return [&list](const QString& text) { return list += text, true; };
    };
    const auto setMapSize = [&size = common.mapSize](const QString& text) {
        constexpr int longestAxis = 1024;
        size = {text.section('x', 0, 0).toInt(), text.section('x', 1).toInt()};
        return !size.isEmpty() && qMax(size.width(), size.height()) <= longestAxis;
    };
    return {
        number("controllers", "Number of controllers, 1 to 16.", "n", common.controllers, 1, 16),
        {"serial", "Serial number of the first, second ... controller; repeatable.", "text",
         addTo(common.serialNumbers)},
        flag("bootloader", "The controllers start as bootloaders.", unit.mode, Mode::Bootloader),
        number(
            "seed", "Seed of all random values; the second controller takes the next number.", "n",
            unit.seed),
        number(
            "channels", "Log channels of a controller, 0 to 128.", "n", unit.channels, 0,
            logChannelCount),
        number(
            "named-channels", "Log channels with an entry in the configuration.", "n",
            unit.namedChannels, 0, logChannelCount),
        number(
            "start-time", "The controller's clock at power-up.", "ms", unit.startTimeMs, 0,
            std::numeric_limits<quint32>::max()),
        rate("records-per-second", "Records pushed in a passive session.", unit.recordsPerSecond),
        rate("frames-per-second", "CAN frames while the capture runs.", unit.framesPerSecond),
        number(
            "identifiers", "Number of different CAN identifiers, 1 to 1000.", "n", unit.identifiers,
            1, CanTraffic::mostIdentifiers),
        number("maps", "Number of calibration maps.", "n", common.maps, 0, 65536),
        {"map-size", "Columns and rows of all maps, such as 64x64.", "CxR", setMapSize},
        number("faults", "Entries in the fault list.", "n", common.faults, 0, 10000),
        number("calibration-time", "Duration of a driver calibration.", "ms", unit.calibrationMs),
        flag("interactive", "Read line commands from standard input.", all.interactive, true),
        {"command", "Line command at the start; repeatable, one after the other.", "line",
         addTo(all.commands)},
        path("commands", "Read line commands from a file or named pipe.", all.commandsPath),
        path(
            "stats", "Write counts of messages to this file, at the end and at the command stats.",
            all.statsPath),
        path(
            "trace", "Write all bytes on the serial lines to this file, in hexadecimal.",
            all.tracePath),
    };
}

// So many plausible faults, repeatable from the seed.
std::vector<xcu::FaultItem> plausibleFaults(int count, quint32 seed)
{
    std::mt19937 random(seed);
    std::vector<xcu::FaultItem> faults(static_cast<std::size_t>(count));
    for (xcu::FaultItem& fault : faults) {
        fault.set_type(random() % 3 == 0 ? 1 : 0); // 1 is a warning
        fault.set_mode(1 + random() % 4);
        fault.set_category(1 + random() % 8);
        fault.set_fault_id(1 + random() % 40);
        fault.set_component_id(random() % 20);
    }
    return faults;
}

std::vector<ControllerOptions> controllersOf(Common common)
{
    ControllerOptions& unit = common.options;
    const std::vector<QSize> usual = unit.maps;
    unit.maps.assign(static_cast<std::size_t>(common.maps), common.mapSize);
    for (std::size_t i = 0; common.mapSize.isEmpty() && i < unit.maps.size(); ++i) {
        unit.maps[i] = usual[i % usual.size()];
    }
    unit.faults = plausibleFaults(common.faults, unit.seed);
    std::vector<ControllerOptions> controllers;
    for (int i = 0; i < qMax(common.controllers, common.serialNumbers.size()); ++i, ++unit.seed) {
        const QString usualName = QStringLiteral("XCU%1").arg(i + 1, 4, 10, QLatin1Char('0'));
        unit.serialNumber = common.serialNumbers.value(i, usualName);
        controllers.push_back(unit);
    }
    return controllers;
}

} // namespace

SimulationOptions simulator::parseCommandLine(const QStringList& arguments)
{
    SimulationOptions result;
    Common common;
    const std::vector<Option> known = knownOptions(result, common);

    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    for (const Option& option : known) {
        parser.addOption({option.name, option.description, option.value});
    }
    parser.addOption({{"h", "help"}, "Print this text."});
    parser.addVersionOption();
    parser.addPositionalArgument(
        QStringLiteral("PROGRAM"), QStringLiteral("The program to start, with its arguments."),
        QStringLiteral("[--] [PROGRAM [ARGUMENT...]]"));

    const auto end = [](std::FILE* stream, const QString& text, int exitCode) {
        QTextStream(stream) << text;
        std::exit(exitCode);
    };
    const QString complaint = QStringLiteral("virtual-xcu: %1; try --help\n");
    if (!parser.parse(arguments)) {
        end(stderr, complaint.arg(parser.errorText()), wrongUsage);
    }
    if (parser.isSet("help")) {
        end(stdout, parser.helpText() + commandsHelp(), 0);
    }
    if (parser.isSet("version")) {
        parser.showVersion();
    }
    for (const Option& option : known) {
        const bool isSwitch = option.value.isEmpty() && parser.isSet(option.name);
        const QStringList texts = isSwitch ? QStringList{QString()} : parser.values(option.name);
        for (const QString& text : texts) {
            if (!option.set(text)) {
                const QString what = QStringLiteral("--%1 does not take \"%2\"");
                end(stderr, complaint.arg(what.arg(option.name, text)), wrongUsage);
            }
        }
    }
    result.controllers = controllersOf(common);
    result.program = parser.positionalArguments();
    return result;
}

double simulator::parseRate(const QString& text)
{
    if (text == QLatin1String("flood")) {
        return asFastAsTheLineTakes;
    }
    bool isNumber = false;
    const double rate = text.toDouble(&isNumber);
    return isNumber && std::isfinite(rate) && rate >= 0 ? rate : -1;
}
