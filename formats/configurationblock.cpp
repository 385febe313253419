// SPDX-License-Identifier: GPL-3.0-or-later
#include "formats/configurationblock.h"

#include "formats/channels.h"
#include "schema/configuration.pb.h"

#include <QStringList>
#include <QtEndian>
#include <algorithm>

namespace formats {

namespace {

constexpr std::size_t LengthSize = sizeof(quint32);
constexpr quint32 NeverWritten = 0xFFFFFFFF;

quint32 storedLength(const std::string& block)
{
    return qFromLittleEndian<quint32>(block.data());
}

// Three successive fills, on purpose: the first takes the lowest marker left. Without a name the
// word therefore lands on the number's place and the number is dropped, and a marker within a name
// is filled like one of the pattern.
QString labelText(const std::string& name, const QString& word, unsigned int number)
{
    const QString pattern = name.empty() ? QStringLiteral("%2%3") : QStringLiteral("%1 (%2%3)");
    return pattern.arg(QString::fromUtf8(name.c_str())).arg(word).arg(number);
}

// The words by the number of their type. Another one, as enumerations are open on the wire, has no
// word and is shown by its number alone. Where the block breaks off, channel 0 may be one that the
// last entry has lost: better no name than a wrong one.
template <typename Entries>
void appendLabels(
    std::vector<ChannelLabel>& labels, const Entries& entries, const QStringList& words,
    bool breaksOff)
{
    for (const auto& entry : entries) {
        const int channel = entry.logchannel();
        const bool isDoubtful = breaksOff && channel == 0 && &entry == &*entries.rbegin();
        if (channel >= 0 && channel < ChannelTotal && !isDoubtful) {
            const QString word = words.value(entry.type());
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
    static const QStringList inputWords = {"ADC",   "Freq", "Digital", "PHW",    "CAN",  "ADC sw",
                                           "Const", "CMP",  "DIV",     "Isense", "Duty", "MapIn",
                                           "AHRS",  "",     "CanObj",  "GR",     "CSl"};
    static const QStringList outputWords = {"PWM", "DAC", "CAN", "I", "MAP", "SPL", "PWR"};
    std::vector<ChannelLabel> labels;
    if (isEmptyConfigurationBlock(block)) {
        return labels;
    }
    const std::size_t length =
        std::min<std::size_t>(storedLength(block), block.size() - LengthSize);
    xcu::ConfigData configuration;
    // A failure is passed over on purpose: what was read up to the damage counts.
    const bool isDamaged = !configuration.ParseFromString(block.substr(LengthSize, length));
    const bool isOutput = configuration.outputs_size() > 0; // that the damage hit
    appendLabels(labels, configuration.inputs(), inputWords, isDamaged && !isOutput);
    appendLabels(labels, configuration.outputs(), outputWords, isDamaged && isOutput);
    return labels;
}

} // namespace formats
