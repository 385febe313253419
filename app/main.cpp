// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "platform/diagnostics.h"
#include "platform/endrequests.h"
#include "platform/programoptions.h"
#include "platform/windowplacement.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    const platform::StandardStreams streams;
    if (platform::answerOptions(argc, argv, "datalogger", "Logging console for an XCU.")) {
        return 0;
    }
    QApplication application(argc, argv);
    platform::watchEndRequests();
    DataLoggerApp window;
    window.show();
    platform::placeWhenFramed(window.windowHandle());
    return QApplication::exec();
}
