// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/configurationblock.h"

#include "formats/channels.h"
#include "schema/configuration.pb.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace formats {

namespace {

constexpr std::size_t LengthSize = sizeof(quint32);
constexpr quint32 NeverWritten = 0xFFFFFFFF;

// By the number of the type; a type without a word is shown by its number alone.
constexpr std::array InputWords = {"ADC",   "Freq", "Digital", "PHW",    "CAN",  "ADC sw",
                                   "Const", "CMP",  "DIV",     "Isense", "Duty", "MapIn",
                                   "AHRS",  "",     "CanObj",  "GR",     "CSl"};
constexpr std::array OutputWords = {"PWM", "DAC", "CAN", "I", "MAP", "SPL", "PWR"};

quint32 storedLength(const std::string& block)
{
    return qFromLittleEndian<quint32>(block.data());
}

// Enumerations are open on the wire: type may be any 32-bit number.
template <std::size_t Size>
QString typeWord(const std::array<const char*, Size>& words, int type)
{
    const bool known = type >= 0 && static_cast<std::size_t>(type) < Size;
    return known ? QString::fromLatin1(words[static_cast<std::size_t>(type)]) : QString();
}

// Three successive fills, on purpose: the first takes the lowest marker left. Without a name the
// word therefore lands on the number's place and the number is dropped, and a marker within a name
// is filled like one of the pattern.
QString labelText(const std::string& name, const QString& word, unsigned int number)
{
    const QString pattern = name.empty() ? QStringLiteral("%2%3") : QStringLiteral("%1 (%2%3)");
    return pattern.arg(QString::fromUtf8(name.c_str())).arg(word).arg(number);
}

template <typename Entries, typename Words>
void appendLabels(std::vector<ChannelLabel>& labels, const Entries& entries, const Words& words)
{
    for (const auto& entry : entries) {
        const int channel = entry.logchannel();
        if (channel >= 0 && channel < ChannelTotal) {
            const QString word = typeWord(words, entry.type());
            labels.push_back({channel, labelText(entry.name(), word, entry.number())});
        }
    }
}

} // namespace

bool isEmptyConfigurationBlock(const std::string& block)
{
    return block.size() < LengthSize || storedLength(block) == NeverWritten;
}

std::vector<ChannelLabel> readChannelLabels(const std::string& block)
{
    std::vector<ChannelLabel> labels;
    if (isEmptyConfigurationBlock(block)) {
        return labels;
    }
    const std::size_t length =
        std::min<std::size_t>(storedLength(block), block.size() - LengthSize);
    xcu::ConfigData configuration;
    // A failure is passed over on purpose. The entry that the damage hit is kept as far as it was
    // read, with channel 0 where its channel was not reached.
    configuration.ParseFromString(block.substr(LengthSize, length));
    appendLabels(labels, configuration.inputs(), InputWords);
    appendLabels(labels, configuration.outputs(), OutputWords);
    return labels;
}

} // namespace formats
