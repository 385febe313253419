// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"

void DataLoggerApp::on_actionOpen_with_Timestamp_triggered(bool) {}
