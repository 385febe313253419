// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/configurationstore.h"

#include "simulator/channels.h"
#include "simulator/virtualinputs.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr unsigned int mainBlock = 0;
constexpr unsigned int extensionBlock = 6; // virtual inputs and all above them

const std::string emptyBlock(4, '\xFF');

template <typename Entry>
void fill(Entry& entry, const std::string& name, int logChannel, int type, unsigned int number)
{
    entry.set_name(name);
    entry.set_logchannel(logChannel);
    entry.set_type(static_cast<decltype(entry.type())>(type));
    entry.set_number(number);
}

void add(xcu::ConfigData& configuration, const LogChannel& channel, int logChannel)
{
    if (channel.kind == LogChannel::Kind::Input) {
        fill(*configuration.add_inputs(), channel.name, logChannel, channel.type, channel.number);
    } else {
        fill(*configuration.add_outputs(), channel.name, logChannel, channel.type, channel.number);
    }
}

// What is connected and yet not logged.
void addUnlogged(xcu::ConfigData& configuration)
{
    constexpr int notLogged = -1;
    fill(*configuration.add_inputs(), "Service switch", notLogged, xcu::Input::DIGITAL, 7);
    fill(*configuration.add_outputs(), "Cooling fan", notLogged, xcu::Output::PWM, 5);
}

} // namespace

ConfigurationStore::ConfigurationStore(int namedChannels)
{
    xcu::ConfigData main;
    xcu::ConfigData extension;
    addUnlogged(main);
    const int count = std::clamp(namedChannels, 0, logChannelCount);
    for (int i = 0; i < count; ++i) {
        add(i < VirtualInputs::firstChannel ? main : extension, logChannels()[i], i);
    }
    setBlock(mainBlock, main);
    setBlock(extensionBlock, extension);
}

std::string ConfigurationStore::block(unsigned int id) const
{
    const auto found = blocks.find(id);
    return found == blocks.end() ? emptyBlock : found->second;
}

void ConfigurationStore::setBlock(unsigned int id, const std::string& bytes)
{
    blocks[id] = bytes;
}

void ConfigurationStore::setBlock(unsigned int id, const xcu::ConfigData& configuration)
{
    const std::string message = configuration.SerializeAsString();
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(message.size() >> shift & 0xFF);
    }
    setBlock(id, bytes + message);
}

void ConfigurationStore::erase(unsigned int id)
{
    blocks.erase(id);
}

} // namespace simulator
