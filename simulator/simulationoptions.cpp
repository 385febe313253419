// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/simulationoptions.h"

#include "simulator/faultmemory.h"
#include "simulator/linecommands.h"

#include <QCommandLineParser>
#include <cmath>
#include <limits>

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

struct OptionText
{
    const char* name;
    const char* description;
    const char* value; // null for a switch
    const char* defaultValue;
};

constexpr OptionText optionTexts[] = {
    {"controllers", "How many controllers.", "n", "1"},
    {"serial", "Serial number of the first, second ... controller; repeatable.", "text", nullptr},
    {"bootloader", "The controllers start as bootloaders.", nullptr, nullptr},
    {"seed", "Source of all that looks random; the second controller has the next.", "n", "1"},
    {"channels", "Log channels of a controller, 0 to 128.", "n", "128"},
    {"named-channels", "Log channels with an entry in the configuration.", "n", "40"},
    {"start-time", "The controller's clock at power-up, in ms.", "ms", "0"},
    {"records-per-second", "Records pushed in a passive session.", "rate", "50"},
    {"frames-per-second", "CAN frames while the capture runs.", "rate", "100"},
    {"identifiers", "CAN identifiers among them, 1 to 1000.", "n", "24"},
    {"maps", "Number of calibration maps.", "n", "4"},
    {"map-size", "Columns and rows of all maps, such as 64x64.", "CxR", nullptr},
    {"faults", "Entries in the fault list.", "n", "3"},
    {"calibration-time", "Duration of a driver calibration, in ms.", "ms", "3000"},
    {"delay", "Trouble: responses are held back, in ms.", "ms", "0"},
    {"drop", "Trouble: every nth response is lost.", "n", "0"},
    {"double", "Trouble: every nth response comes twice.", "n", "0"},
    {"garbage", "Trouble: ahead of every nth response comes a senseless frame.", "n", "0"},
    {"split", "Trouble: frames come in pieces, cut anywhere.", nullptr, nullptr},
    {"unplug-after", "The cable is pulled so many ms after it was put in.", "ms", "0"},
    {"replug-after", "The cable is put back so many ms later, and so on in turn.", "ms", "0"},
    {"interactive", "Line commands come on standard input.", nullptr, nullptr},
    {"commands", "Line commands come from a file or named pipe.", "path", nullptr},
    {"stats", "File for counts, written at the end and by the command stats.", "path", nullptr},
};

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
    for (const OptionText& text : optionTexts) {
        QCommandLineOption option(QString::fromLatin1(text.name), text.description);
        if (text.value != nullptr) {
            option.setValueName(text.value);
        }
        if (text.defaultValue != nullptr) {
            option.setDefaultValue(text.defaultValue);
            option.setDescription(
                option.description() + QStringLiteral(" [%1]").arg(text.defaultValue));
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
    constexpr int anyNumber = std::numeric_limits<int>::max();
    constexpr int mostControllers = 16;
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
    options.interactive = parser.isSet(QStringLiteral("interactive"));
    options.commandsPath = parser.value(QStringLiteral("commands"));
    options.statsPath = parser.value(QStringLiteral("stats"));
    options.program = parser.positionalArguments();
}

ControllerOptions Reader::controller()
{
    constexpr int anyNumber = std::numeric_limits<int>::max();
    ControllerOptions options;
    options.guise = parser.isSet(QStringLiteral("bootloader")) ? Guise::Bootloader : Guise::Device;
    options.seed = static_cast<quint32>(number("seed", 0, anyNumber));
    options.channels = number("channels", 0, 128);
    options.namedChannels = number("named-channels", 0, 128);
    bool isNumber = false;
    options.startTimeMs = parser.value(QStringLiteral("start-time")).toUInt(&isNumber);
    if (!isNumber) {
        fail("start-time");
    }
    options.recordsPerSecond = rate("records-per-second");
    options.framesPerSecond = rate("frames-per-second");
    options.identifiers = number("identifiers", 1, 1000);
    options.maps = maps();
    options.faults = plausibleFaults(number("faults", 0, 10000), options.seed);
    options.calibrationMs = number("calibration-time", 0, anyNumber);
    options.trouble = trouble();
    options.keepReceived = 0; // nobody would ask for them, and a drive is long
    return options;
}

std::vector<MapSize> Reader::maps()
{
    constexpr int mostMaps = 65536;
    constexpr unsigned int longestAxis = 1024;
    const std::vector<MapSize> usual = ControllerOptions().maps;
    std::vector<MapSize> sizes;
    for (int i = 0; i < number("maps", 0, mostMaps); ++i) {
        sizes.push_back(usual[i % usual.size()]);
    }
    if (parser.isSet(QStringLiteral("map-size"))) {
        const QString text = parser.value(QStringLiteral("map-size"));
        const MapSize size = {text.section('x', 0, 0).toUInt(), text.section('x', 1).toUInt()};
        if (qMin(size.columns, size.rows) == 0 || qMax(size.columns, size.rows) > longestAxis) {
            fail("map-size");
        }
        sizes.assign(sizes.size(), size);
    }
    return sizes;
}

Trouble Reader::trouble()
{
    constexpr int anyNumber = std::numeric_limits<int>::max();
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
