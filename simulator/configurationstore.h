// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "schema/configuration.pb.h"

#include <map>
#include <string>

namespace simulator {

// The controller's numbered configuration blocks. A block is a 32-bit little-endian length and so
// many bytes of a serialized ConfigData; the length 0xFFFFFFFF marks an empty block.
class ConfigurationStore
{
public:
    // Fills blocks 0 and 6 with entries for the given number of log channels, 0 to 128.
    explicit ConfigurationStore(int namedChannels);

    // The bytes of a block; an empty block where nothing is stored.
    std::string block(unsigned int id) const;
    // Stores bytes as they are, well formed or not.
    void setBlock(unsigned int id, const std::string& bytes);
    void setBlock(unsigned int id, const xcu::ConfigData& configuration);
    void erase(unsigned int id);

    // What came with the last calibration write.
    const std::string& calibration() const { return calibrationData; }
    void setCalibration(const std::string& bytes) { calibrationData = bytes; }

private:
    std::map<unsigned int, std::string> blocks;
    std::string calibrationData;
};

} // namespace simulator
