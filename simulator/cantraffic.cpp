// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/cantraffic.h"

#include <algorithm>
#include <random>
#include <set>

using namespace simulator;

CanTraffic::CanTraffic(int identifiers, quint32 seed)
{
    const struct
    {
        bool extended, fd, brs;
        std::vector<int> lengths;
    } kinds[] = {
        {false, false, false, {8}},           {true, false, false, {8, 5}},
        {false, true, true, {12, 24, 64}},    {false, false, false, {1, 2, 3, 4, 6, 7}},
        {true, true, false, {8, 16, 32, 48}}, {false, false, false, {0, 8}},
    };
    std::mt19937 random(seed);
    std::set<quint32> used;
    const int count = std::clamp(identifiers, 1, mostIdentifiers);
    for (int i = 0; i < count; ++i) {
        const auto& kind = kinds[i % std::size(kinds)];
        quint32 id = 0;
        do {
            id = random() % (kind.extended ? 1U << 29 : 1U << 11);
        } while (!used.insert(id).second);
        xcu::CandumpFrame& frame = frames.emplace_back();
        frame.set_bus((i + i / busCount) % busCount);
        frame.set_id(static_cast<int>(id));
        frame.set_extended(kind.extended);
        frame.set_fd(kind.fd);
        frame.set_brs(kind.brs);
        std::string data(kind.lengths[random() % kind.lengths.size()], '\0');
        std::generate(data.begin(), data.end(), [&] { return static_cast<char>(random()); });
        frame.set_data(data);
    }
}

xcu::CandumpFrame CanTraffic::next(quint32 timeMs)
{
    xcu::CandumpFrame& frame = frames[sent % frames.size()];
    const std::size_t round = sent++ / frames.size();
    frame.set_timestamp(static_cast<int>(timeMs));
    // Byte 0 counts, byte 1 counts slowly, byte 2 toggles; the others stay as they are.
    const std::size_t changing[] = {round, round / 16, round / 64 % 2};
    std::string& data = *frame.mutable_data();
    for (std::size_t i = 0; i < std::min(data.size(), std::size(changing)); ++i) {
        data[i] = static_cast<char>(changing[i]);
    }
    return frame;
}
