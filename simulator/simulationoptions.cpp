// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulationoptions.h"

#include "simulator/cantraffic.h"
#include "simulator/channels.h"
#include "simulator/faultmemory.h"
#include "simulator/linecommands.h"

#include <QCommandLineParser>
#include <cmath>
#include <limits>

namespace simulator {

namespace {

constexpr const char* description = R"(
Attaches virtual controllers to a mocked USB bus and starts PROGRAM with them. The
program sees them as serial ports, through the ordinary system interfaces, and
nothing else of its environment changes. When it ends, virtual-xcu ends with its
exit code, or with 128 + n if signal n ended it. SIGINT and SIGTERM are passed on.

Without a PROGRAM it prints the environment for programs that shall see the
controllers, and runs until it is told to quit.

Rates are in items a second, or the word "flood": as fast as the line takes them.
Of trouble, every nth response is hit. The same options give the same controller;
what looks random comes from the seed.)";

constexpr int anyNumber = std::numeric_limits<int>::max();
constexpr int mostControllers = 16;
constexpr int mostFaults = 10000;
constexpr int mostMaps = 65536;
constexpr unsigned int longestMapAxis = 1024;

struct OptionText
{
    const char* name;
    const char* description;
    const char* value = nullptr; // what the value is; null for a switch
    QString defaultValue = {};
};

std::vector<OptionText> optionTexts()
{
    const ControllerOptions usual;
    const auto text = [](auto number) { return QString::number(number); };
    return {
        {"controllers", "How many controllers.", "n", text(1)},
        {"serial", "Serial number of the first, second ... controller; repeatable.", "text"},
        {"bootloader", "The controllers start as bootloaders."},
        {"seed", "Source of all that looks random; the second controller has the next.", "n",
         text(usual.seed)},
        {"channels", "Log channels of a controller, 0 to 128.", "n", text(usual.channels)},
        {"named-channels", "Log channels with an entry in the configuration.", "n",
         text(usual.namedChannels)},
        {"start-time", "The controller's clock at power-up.", "ms", text(usual.startTimeMs)},
        {"records-per-second", "Records pushed in a passive session.", "rate",
         text(usual.recordsPerSecond)},
        {"frames-per-second", "CAN frames while the capture runs.", "rate",
         text(usual.framesPerSecond)},
        {"identifiers", "CAN identifiers among them, 1 to 1000.", "n", text(usual.identifiers)},
        {"maps", "Number of calibration maps.", "n", text(usual.maps.size())},
        {"map-size", "Columns and rows of all maps, such as 64x64.", "CxR"},
        {"faults", "Entries in the fault list.", "n", text(3)},
        {"calibration-time", "Duration of a driver calibration.", "ms", text(usual.calibrationMs)},
        {"delay", "Trouble: responses are held back.", "ms", text(0)},
        {"drop", "Trouble: every nth response is lost.", "n", text(0)},
        {"double", "Trouble: every nth response comes twice.", "n", text(0)},
        {"garbage", "Trouble: ahead of every nth response comes a senseless frame.", "n", text(0)},
        {"split", "Trouble: frames come in pieces, cut anywhere."},
        {"unplug-after", "The cable is pulled so long after it was put in; 0 for never.", "ms",
         text(0)},
        {"replug-after", "The cable is put back so long after that, and so on in turn.", "ms",
         text(0)},
        {"bootloader-after", "A reset into the bootloader so long after the start; 0 for never.",
         "ms", text(0)},
        {"interactive", "Line commands come on standard input."},
        {"commands", "Line commands come from a file or named pipe.", "path"},
        {"stats", "File for counts, written at the end and by the command stats.", "path"},
        {"trace", "File for all bytes that go over the lines, in hexadecimal.", "path"},
    };
}

QString defaultSerialNumber(int index)
{
    return QStringLiteral("XCU%1").arg(index + 1, 4, 10, QLatin1Char('0'));
}

class Reader
{
public:
    Reader(const QStringList& arguments, ParsedCommandLine& result);

    void read();

private:
    int number(const char* name, int least, int most);
    double rate(const char* name);
    void fail(const char* name);
    ControllerOptions controller();
    std::vector<MapSize> maps();
    Trouble trouble();

    QCommandLineParser parser;
    ParsedCommandLine& out;
};

Reader::Reader(const QStringList& arguments, ParsedCommandLine& result)
    : out(result)
{
    parser.setApplicationDescription(QString::fromLatin1(description));
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    for (const OptionText& text : optionTexts()) {
        QCommandLineOption option(QString::fromLatin1(text.name), text.description);
        option.setValueName(QString::fromLatin1(text.value));
        if (!text.defaultValue.isEmpty()) {
            option.setDefaultValue(text.defaultValue);
            option.setDescription(option.description() + " [" + text.defaultValue + ']');
        }
        parser.addOption(option);
    }
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, "Print this.");
    parser.addOption(help);
    parser.addPositionalArgument(
        QStringLiteral("PROGRAM"), QStringLiteral("The program to start, with its arguments."),
        QStringLiteral("[--] [PROGRAM [ARGUMENT...]]"));
    if (!parser.parse(arguments)) {
        out.error = parser.errorText();
    } else if (parser.isSet(help)) {
        out.help = parser.helpText() + LineCommands::helpText();
    }
}

void Reader::read()
{
    SimulationOptions& options = out.options;
    const QStringList serials = parser.values(QStringLiteral("serial"));
    const ControllerOptions common = controller();
    const int count = qMax(number("controllers", 1, mostControllers), serials.size());
    for (int i = 0; i < count; ++i) {
        options.controllers.push_back(common);
        options.controllers.back().serialNumber = serials.value(i, defaultSerialNumber(i));
        options.controllers.back().seed += static_cast<quint32>(i);
    }
    options.unplugAfterMs = number("unplug-after", 0, anyNumber);
    options.replugAfterMs = number("replug-after", 0, anyNumber);
    options.bootloaderAfterMs = number("bootloader-after", 0, anyNumber);
    options.interactive = parser.isSet(QStringLiteral("interactive"));
    options.commandsPath = parser.value(QStringLiteral("commands"));
    options.statsPath = parser.value(QStringLiteral("stats"));
    options.tracePath = parser.value(QStringLiteral("trace"));
    options.program = parser.positionalArguments();
}

ControllerOptions Reader::controller()
{
    ControllerOptions options;
    options.guise = parser.isSet(QStringLiteral("bootloader")) ? Guise::Bootloader : Guise::Device;
    options.seed = static_cast<quint32>(number("seed", 0, anyNumber));
    options.channels = number("channels", 0, logChannelCount);
    options.namedChannels = number("named-channels", 0, logChannelCount);
    bool isNumber = false;
    options.startTimeMs = parser.value(QStringLiteral("start-time")).toUInt(&isNumber);
    if (!isNumber) {
        fail("start-time");
    }
    options.recordsPerSecond = rate("records-per-second");
    options.framesPerSecond = rate("frames-per-second");
    options.identifiers = number("identifiers", 1, CanTraffic::mostIdentifiers);
    options.maps = maps();
    options.faults = plausibleFaults(number("faults", 0, mostFaults), options.seed);
    options.calibrationMs = number("calibration-time", 0, anyNumber);
    options.trouble = trouble();
    options.keepReceived = 0; // nobody would ask for them, and a drive is long
    return options;
}

std::vector<MapSize> Reader::maps()
{
    const std::vector<MapSize> usual = ControllerOptions().maps;
    std::vector<MapSize> sizes(number("maps", 0, mostMaps));
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        sizes[i] = usual[i % usual.size()];
    }
    if (parser.isSet(QStringLiteral("map-size"))) {
        const QString text = parser.value(QStringLiteral("map-size"));
        const MapSize size = {text.section('x', 0, 0).toUInt(), text.section('x', 1).toUInt()};
        if (qMin(size.columns, size.rows) == 0 || qMax(size.columns, size.rows) > longestMapAxis) {
            fail("map-size");
        }
        sizes.assign(sizes.size(), size);
    }
    return sizes;
}

Trouble Reader::trouble()
{
    Trouble trouble;
    trouble.delayMs = number("delay", 0, anyNumber);
    trouble.dropEvery = number("drop", 0, anyNumber);
    trouble.doubleEvery = number("double", 0, anyNumber);
    trouble.garbageEvery = number("garbage", 0, anyNumber);
    trouble.split = parser.isSet(QStringLiteral("split"));
    return trouble;
}

int Reader::number(const char* name, int least, int most)
{
    bool isNumber = false;
    const int value = parser.value(QString::fromLatin1(name)).toInt(&isNumber);
    if (!isNumber || value < least || value > most) {
        fail(name);
        return least;
    }
    return value;
}

double Reader::rate(const char* name)
{
    const double value = parseRate(parser.value(QString::fromLatin1(name)));
    if (value < 0) {
        fail(name);
    }
    return value;
}

void Reader::fail(const char* name)
{
    const QString value = parser.value(QString::fromLatin1(name));
    out.error = QStringLiteral("--%1 does not take \"%2\"").arg(QString::fromLatin1(name), value);
}

} // namespace

ParsedCommandLine parseCommandLine(const QStringList& arguments)
{
    ParsedCommandLine result;
    Reader reader(arguments, result);
    if (result.error.isEmpty() && result.help.isEmpty()) {
        reader.read();
    }
    return result;
}

double parseRate(const QString& text)
{
    if (text == QLatin1String("flood")) {
        return asFastAsTheLineTakes;
    }
    bool isNumber = false;
    const double rate = text.toDouble(&isNumber);
    return isNumber && std::isfinite(rate) && rate >= 0 ? rate : -1;
}

} // namespace simulator
