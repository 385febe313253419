// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/faultsdisplay.h"

#include "comm/commandssender.h"
#include "ui_faultsdisplay.h"

#include <QHeaderView>
#include <map>

namespace {

// By category, then by number within the category. The place for descriptions.
std::map<int, std::map<int, std::string>> faultData;

// By the number of the mode. "Intermitten" is spelled as operators know it.
constexpr const char* ModeTexts[] = {nullptr, "Intermitten", "Continuous", "RunFault", "Inactive"};

} // namespace

// The look-up adds an empty text for each new pair: entries are made by asking for them.
std::string getFaultDescription(int category, int faultId)
{
    return faultData[category][faultId];
}

FaultsDisplay::FaultsDisplay(CommandsSender& sender, QWidget* parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::FaultsDisplay>())
    , commandsSender(sender)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_QuitOnClose, false);
    ui->faultList->setHorizontalHeaderLabels(
        {QStringLiteral("Type"), QStringLiteral("Mode"), QStringLiteral("Category"),
         QStringLiteral("Fault ID"), QStringLiteral("Component ID"),
         QStringLiteral("Fault Description")});
    QHeaderView* header = ui->faultList->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(header->count() - 1, QHeaderView::Stretch);
}

FaultsDisplay::~FaultsDisplay() = default;

void FaultsDisplay::faultGetFaultsResp(std::vector<FaultItemData>&& items)
{
    ui->faultList->setRowCount(static_cast<int>(items.size()));
    int row = 0;
    for (const FaultItemData& item : items) {
        const auto write = [this, row](int column, const QString& text) {
            ui->faultList->setItem(row, column, new QTableWidgetItem(text));
        };
        write(0, item.type == 1 ? QStringLiteral("Warning") : QStringLiteral("Fault"));
        if (item.mode >= 1 && item.mode < std::size(ModeTexts)) {
            write(1, QLatin1String(ModeTexts[item.mode]));
        }
        write(2, QString::number(item.category));
        write(3, QString::number(item.faultId));
        write(4, QString::number(item.componentId));
        const std::string description = getFaultDescription(item.category, item.faultId);
        write(5, QString::fromLatin1(description.c_str()));
        ++row;
    }
}

void FaultsDisplay::on_refreshButton_clicked()
{
    commandsSender.sendFaultGetFaultsReq();
}
