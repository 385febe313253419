// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/faultdictionary.h"

#include <map>

namespace {

// By category, then by number within the category. The place for descriptions.
std::map<int, std::map<int, std::string>> faultData;

} // namespace

std::string getFaultDescription(int category, int faultId)
{
    return faultData[category][faultId];
}
