// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "comm/responseinterfaces.h"

#include <QWidget>
#include <memory>
#include <string>
#include <vector>

class CommandsSender;

namespace Ui {
class FaultsDisplay;
}

// Description of a fault by its category and its number within the category, for the GUI thread.
// The dictionary holds no texts yet, so it is empty for every fault.
std::string getFaultDescription(int category, int faultId);

// The list of the controller's faults. It is asked for and filled only when the operator presses
// "Refresh"; the last list stays until the next answer. An open window does not keep the program
// alive.
class FaultsDisplay : public QWidget
{
    Q_OBJECT

public:
    explicit FaultsDisplay(CommandsSender& sender, QWidget* parent = nullptr);
    ~FaultsDisplay() override;

    // Shows the items, one a row in their order. An unknown mode leaves its cell as it was, also
    // with the text of an earlier list.
    void faultGetFaultsResp(std::vector<FaultItemData>&& items);

private slots:
    void on_refreshButton_clicked();

private:
    std::unique_ptr<Ui::FaultsDisplay> ui;
    CommandsSender& commandsSender;
};
