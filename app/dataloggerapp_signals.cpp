// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"

void DataLoggerApp::on_addCanTrace_clicked() {}

void DataLoggerApp::on_canTraceFrames_itemChanged(QTableWidgetItem* /*item*/) {}

void DataLoggerApp::on_saveCanSignals_clicked() {}

void DataLoggerApp::on_loadCanSignals_clicked() {}
