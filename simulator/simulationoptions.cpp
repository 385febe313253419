// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulationoptions.h"

#include "simulator/cantraffic.h"
#include "simulator/channels.h"
#include "simulator/linecommands.h"

#include <QCommandLineParser>
#include <cmath>
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

constexpr int anyNumber = std::numeric_limits<int>::max();
constexpr int mostControllers = 16;
constexpr int mostFaults = 10000;
constexpr int mostMaps = 65536;
constexpr unsigned int longestMapAxis = 1024;

// So many plausible faults, repeatable from the seed.
std::vector<xcu::FaultItem> plausibleFaults(int count, quint32 seed)
{
    std::mt19937 random(seed);
    std::vector<xcu::FaultItem> faults;
    for (int i = 0; i < count; ++i) {
        xcu::FaultItem fault;
        fault.set_type(random() % 3 == 0 ? 1 : 0); // 1 is a warning
        fault.set_mode(1 + random() % 4);
        fault.set_category(1 + random() % 8);
        fault.set_fault_id(1 + random() % 40);
        fault.set_component_id(random() % 20);
        faults.push_back(fault);
    }
    return faults;
}

// Where the value of an option goes.
struct Target
{
    std::function<bool(const QString& text)> take; // false if the text makes no sense
    QString defaultValue = {};
};

template <typename Number>
Target whole(Number& target, qint64 least, qint64 most)
{
    const auto take = [=, &target](const QString& text) {
        bool isNumber = false;
        const qint64 value = text.toLongLong(&isNumber);
        target = static_cast<Number>(value);
        return isNumber && value >= least && value <= most;
    };
    return {take, QString::number(target)};
}

Target rate(double& target)
{
    const auto take = [&](const QString& text) { return (target = parseRate(text)) >= 0; };
    return {take, QString::number(target)};
}

Target path(QString& target)
{
    return {[&](const QString& text) { return target = text, true; }};
}

Target on(bool& target)
{
    return {[&](const QString&) { return target = true; }};
}

struct Option
{
    const char* name;
    const char* description;
    const char* value; // what the value is; null for a switch
    Target target;
};

// The members hold the defaults until the command line is read.
class Reader
{
public:
    explicit Reader(ParsedCommandLine& result)
        : out(result)
    {}

    void read(const QStringList& arguments);

private:
    std::vector<Option> options();
    bool readMapSize(const QString& text);
    void makeControllers(const QStringList& serialNumbers);

    ParsedCommandLine& out;
    ControllerOptions common;
    int controllers = 1;
    int maps = static_cast<int>(common.maps.size());
    int faults = 3;
    MapSize mapSize = {0, 0}; // of all maps; of none if nothing is said
    bool isBootloader = false;
    bool isSplit = false;
};

std::vector<Option> Reader::options()
{
    constexpr qint64 latestTime = std::numeric_limits<quint32>::max();
    SimulationOptions& all = out.options;
    Trouble& trouble = common.trouble;
    const Target size = {[this](const QString& text) { return readMapSize(text); }};
    const Target serials = {[](const QString&) { return true; }}; // read together
    return {
        {"controllers", "Number of controllers, 1 to 16.", "n",
         whole(controllers, 1, mostControllers)},
        {"serial", "Serial number of the first, second ... controller; repeatable.", "text",
         serials},
        {"bootloader", "The controllers start as bootloaders.", nullptr, on(isBootloader)},
        {"seed", "Seed of all random values; the second controller takes the next number.", "n",
         whole(common.seed, 0, anyNumber)},
        {"channels", "Log channels of a controller, 0 to 128.", "n",
         whole(common.channels, 0, logChannelCount)},
        {"named-channels", "Log channels with an entry in the configuration.", "n",
         whole(common.namedChannels, 0, logChannelCount)},
        {"start-time", "The controller's clock at power-up.", "ms",
         whole(common.startTimeMs, 0, latestTime)},
        {"records-per-second", "Records pushed in a passive session.", "rate",
         rate(common.recordsPerSecond)},
        {"frames-per-second", "CAN frames while the capture runs.", "rate",
         rate(common.framesPerSecond)},
        {"identifiers", "Number of different CAN identifiers, 1 to 1000.", "n",
         whole(common.identifiers, 1, CanTraffic::mostIdentifiers)},
        {"maps", "Number of calibration maps.", "n", whole(maps, 0, mostMaps)},
        {"map-size", "Columns and rows of all maps, such as 64x64.", "CxR", size},
        {"faults", "Entries in the fault list.", "n", whole(faults, 0, mostFaults)},
        {"calibration-time", "Duration of a driver calibration.", "ms",
         whole(common.calibrationMs, 0, anyNumber)},
        {"delay", "Trouble: responses are delayed.", "ms", whole(trouble.delayMs, 0, anyNumber)},
        {"drop", "Trouble: every nth response is lost.", "n",
         whole(trouble.dropEvery, 0, anyNumber)},
        {"double", "Trouble: every nth response comes twice.", "n",
         whole(trouble.doubleEvery, 0, anyNumber)},
        {"garbage", "Trouble: a frame without meaning is sent before every nth response.", "n",
         whole(trouble.garbageEvery, 0, anyNumber)},
        {"split", "Trouble: frames are sent in pieces.", nullptr, on(isSplit)},
        {"unplug-after", "The cable is pulled this long after it was plugged in; 0 for never.",
         "ms", whole(all.unplugAfterMs, 0, anyNumber)},
        {"replug-after", "The cable is plugged in again this long after it was pulled, and so on.",
         "ms", whole(all.replugAfterMs, 0, anyNumber)},
        {"bootloader-after", "A reset into the bootloader this long after the start; 0 for never.",
         "ms", whole(all.bootloaderAfterMs, 0, anyNumber)},
        {"interactive", "Read line commands from standard input.", nullptr, on(all.interactive)},
        {"commands", "Read line commands from a file or named pipe.", "path",
         path(all.commandsPath)},
        {"stats", "Write counts of messages to this file, at the end and at the command stats.",
         "path", path(all.statsPath)},
        {"trace", "Write all bytes on the serial lines to this file, in hexadecimal.", "path",
         path(all.tracePath)},
    };
}

void Reader::read(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const std::vector<Option> known = options();
    for (const auto& [name, text, value, target] : known) {
        QCommandLineOption option(QString::fromLatin1(name), text, value);
        if (!target.defaultValue.isEmpty()) {
            option.setDescription(option.description() + " [" + target.defaultValue + ']');
        }
        parser.addOption(option);
    }
    const QCommandLineOption help(
        {QStringLiteral("h"), QStringLiteral("help")}, "Print this text.");
    parser.addOption(help);
    const QCommandLineOption version = parser.addVersionOption();
    parser.addPositionalArgument(
        QStringLiteral("PROGRAM"), QStringLiteral("The program to start, with its arguments."),
        QStringLiteral("[--] [PROGRAM [ARGUMENT...]]"));
    if (!parser.parse(arguments)) {
        out.error = parser.errorText();
        return;
    }
    if (parser.isSet(help)) {
        out.help = parser.helpText() + commandsHelp();
        return;
    }
    if (parser.isSet(version)) {
        out.help = QStringLiteral("%1 %2\n").arg(
            QCoreApplication::applicationName(), QCoreApplication::applicationVersion());
        return;
    }
    for (const auto& [name, text, value, target] : known) {
        if (parser.isSet(name) && !target.take(parser.value(name))) {
            out.error = QStringLiteral("--%1 does not take \"%2\"").arg(name, parser.value(name));
            return;
        }
    }
    makeControllers(parser.values(QStringLiteral("serial")));
    out.options.program = parser.positionalArguments();
}

bool Reader::readMapSize(const QString& text)
{
    mapSize = {text.section('x', 0, 0).toUInt(), text.section('x', 1).toUInt()};
    return qMin(mapSize.columns, mapSize.rows) > 0 &&
           qMax(mapSize.columns, mapSize.rows) <= longestMapAxis;
}

void Reader::makeControllers(const QStringList& serialNumbers)
{
    const std::vector<MapSize> usual = common.maps;
    common.maps.assign(static_cast<std::size_t>(maps), mapSize);
    for (std::size_t i = 0; mapSize.rows == 0 && i < common.maps.size(); ++i) {
        common.maps[i] = usual[i % usual.size()];
    }
    common.guise = isBootloader ? Guise::Bootloader : Guise::Device;
    common.faults = plausibleFaults(faults, common.seed);
    common.trouble.split = isSplit ? 1 : 0;
    common.keepReceived = 0; // nobody would ask for them, and a drive is long
    const int count = qMax(controllers, serialNumbers.size());
    for (int i = 0; i < count; ++i) {
        const QString usualName = QStringLiteral("XCU%1").arg(i + 1, 4, 10, QLatin1Char('0'));
        out.options.controllers.push_back(common);
        out.options.controllers.back().serialNumber = serialNumbers.value(i, usualName);
        out.options.controllers.back().seed += static_cast<quint32>(i);
    }
}

} // namespace

ParsedCommandLine simulator::parseCommandLine(const QStringList& arguments)
{
    ParsedCommandLine result;
    Reader(result).read(arguments);
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
