// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/windowplacement.h"
#include "workbench/mainwindow.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    MainWindow window(nullptr);
    window.show();
    platform::placeWhenFramed(window.windowHandle());
    return QApplication::exec();
}
