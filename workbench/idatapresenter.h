// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

// Interface of the viewers of logger records.
class IDataPresenter
{
public:
    // One record: its running number, the controller's time in ms, and a raw value per channel.
    // The values are shared by all presenters and must be left as they are.
    virtual void update(
        unsigned int sampleNumber, unsigned int timestamp, std::vector<int>& values) = 0;
    virtual void updateLabels(std::vector<std::string>& labels) = 0; // names of the channels
    virtual void showData(std::vector<bool>& shown) = 0;             // which channels to show

protected:
    ~IDataPresenter() = default;
};
