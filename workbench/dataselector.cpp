// SPDX-License-Identifier: GPL-3.0-or-later
#include "workbench/dataselector.h"

#include "ui_dataselector.h"

DataSelector::DataSelector(
    std::vector<std::string>& /*names*/, std::vector<bool>& /*shown*/, QWidget* parent)
    : QWidget(parent)
{
    Ui::DataSelector().setupUi(this);
}
