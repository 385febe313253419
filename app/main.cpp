// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/dataloggerapp.h"
#include "platform/windowplacement.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    DataLoggerApp window;
    window.show();
    platform::placeWhenFramed(window.windowHandle());
    return QApplication::exec();
}
