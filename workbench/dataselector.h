// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>
#include <string>
#include <vector>

// A form for choosing channels by name. Nothing opens it yet, and it shows none of its arguments.
class DataSelector : public QWidget
{
    Q_OBJECT

public:
    DataSelector(
        std::vector<std::string>& names, std::vector<bool>& shown, QWidget* parent = nullptr);
};
