// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/cantraffic.h"

#include <algorithm>
#include <random>
#include <set>

namespace simulator {

namespace {

struct FrameKind
{
    bool extended;
    bool fd;
    bool brs;
    std::vector<int> lengths;
};

const std::vector<FrameKind>& frameKinds()
{
    static const std::vector<FrameKind> kinds = {
        {false, false, false, {8}},           {true, false, false, {8, 5}},
        {false, true, true, {12, 24, 64}},    {false, false, false, {1, 2, 3, 4, 6, 7}},
        {true, true, false, {8, 16, 32, 48}}, {false, false, false, {0, 8}},
    };
    return kinds;
}

int unusedId(bool extended, std::set<int>& used, std::mt19937& random)
{
    const quint32 range = extended ? 1U << 29 : 1U << 11;
    for (;;) {
        const int id = static_cast<int>(random() % range);
        if (used.insert(id).second) {
            return id;
        }
    }
}

// Byte 0 counts, byte 1 creeps, byte 2 toggles now and then; the others stand still.
void advance(std::string& data, quint32 sent)
{
    const quint32 changing[] = {sent, sent / 16, sent / 64 % 2};
    for (std::size_t i = 0; i < std::min<std::size_t>(data.size(), std::size(changing)); ++i) {
        data[i] = static_cast<char>(changing[i]);
    }
}

} // namespace

CanTraffic::CanTraffic(int identifiers, quint32 seed)
{
    std::mt19937 random(seed);
    std::set<int> used;
    const int count = std::clamp(identifiers, 1, mostIdentifiers);
    for (int i = 0; i < count; ++i) {
        const FrameKind& kind = frameKinds()[i % frameKinds().size()];
        xcu::CandumpFrame frame;
        frame.set_bus((i + i / busCount) % busCount);
        frame.set_id(unusedId(kind.extended, used, random));
        frame.set_extended(kind.extended);
        frame.set_fd(kind.fd);
        frame.set_brs(kind.brs);
        std::string data(kind.lengths[random() % kind.lengths.size()], '\0');
        std::generate(data.begin(), data.end(), [&] { return static_cast<char>(random()); });
        frame.set_data(data);
        senders.push_back({frame, 0});
    }
}

xcu::CandumpFrame CanTraffic::next(quint32 timeMs)
{
    Sender& sender = senders[position];
    position = (position + 1) % senders.size();
    sender.frame.set_timestamp(static_cast<int>(timeMs));
    advance(*sender.frame.mutable_data(), sender.sent++);
    return sender.frame;
}

} // namespace simulator
