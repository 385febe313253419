// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "ui_dataloggerapp.h"

void DataLoggerApp::on_faultTimer_tieout()
{
    commandsSender.sendFaultGetFaultCountReq();
}

// Opening the window fetches nothing: the list is read when the operator asks for it.
void DataLoggerApp::on_faultStatus_clicked()
{
    faultsDisplay.show();
}

void DataLoggerApp::faultGetFaultCountResp(int first, int second)
{
    ui->faultStatus->setText(QStringLiteral("Faults: %1/%2").arg(first).arg(second));
}

void DataLoggerApp::faultGetFaultsResp(std::vector<FaultItemData>&& items)
{
    faultsDisplay.faultGetFaultsResp(std::move(items));
}
