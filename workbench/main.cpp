// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/diagnostics.h"
#include "platform/endrequests.h"
#include "platform/programoptions.h"
#include "platform/windowplacement.h"
#include "workbench/mainwindow.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    const platform::StandardStreams streams;
    if (platform::answerOptions(
            argc, argv, "tuning-workbench", "Live values and maps of an XCU.")) {
        return 0;
    }
    QApplication application(argc, argv);
    platform::watchEndRequests();
    MainWindow window(nullptr);
    window.show();
    platform::placeWhenFramed(window.windowHandle());
    return QApplication::exec();
}
