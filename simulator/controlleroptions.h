// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/link.pb.h"

#include <QString>
#include <limits>
#include <vector>

namespace simulator {

// The two shapes in which one unit stands on the USB bus, told apart by the product identifier.
enum class Guise { Device, Bootloader };

// A rate, in items a second, that only the line limits.
constexpr double asFastAsTheLineTakes = std::numeric_limits<double>::infinity();

// Trouble on purpose. A count of n takes every nth response, 0 none; the counts run from the last
// change of the settings on.
struct Trouble
{
    int delayMs = 0;      // every response is held back for so long; the order stays
    int dropEvery = 0;    // the response never leaves
    int doubleEvery = 0;  // the response leaves twice
    int garbageEvery = 0; // a frame that is no message leaves ahead of the response
    int split = 0;        // not 0: frames leave in pieces cut at seeded places, headers too
};

struct MapSize
{
    unsigned int columns = 8;
    unsigned int rows = 8;
};

// What a virtual controller is made of. The same options give the same controller: all that looks
// random comes from the seed.
struct ControllerOptions
{
    QString serialNumber = QStringLiteral("XCU0001");
    Guise guise = Guise::Device; // the guise after power-up
    quint32 seed = 1;

    int channels = 128;           // log channels that exist, 0 to 128; requests for more get less
    int namedChannels = 40;       // the first so many have an entry in a configuration block
    quint32 startTimeMs = 0;      // the controller's clock at power-up
    double recordsPerSecond = 50; // pushed by itself in a passive session

    double framesPerSecond = 100; // CAN frames while the capture runs
    int identifiers = 24;         // different CAN identifiers among them

    std::vector<MapSize> maps = {{8, 8}, {16, 12}, {1, 16}, {24, 16}};
    std::vector<xcu::FaultItem> faults;
    int calibrationMs = 3000; // an adaptation run; it tells busy and idle by itself, 0 never does

    Trouble trouble;

    // The first so many commands are kept for VirtualController::received().
    std::size_t keepReceived = 20000;
};

} // namespace simulator
