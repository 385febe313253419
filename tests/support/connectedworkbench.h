// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/portrig.h"
#include "workbench/mainwindow.h"

#include <QTest>
#include <QtWidgets>
#include <google/protobuf/text_format.h>
#include <memory>

// The real window with a virtual controller on a mocked port, driven by its menus.
struct ConnectedWorkbench : PortRig
{
    ConnectedWorkbench()
    {
        port.plug();
        window->show();
        choose("menuConnection", controller.options().serialNumber);
    }

    QStringList entries(const char* menuName)
    {
        auto* menu = window->findChild<QMenu*>(menuName);
        emit menu->aboutToShow();
        QStringList texts;
        for (const QAction* action : menu->actions()) {
            texts << action->text();
        }
        return texts;
    }

    void choose(const char* menuName, const QString& text)
    {
        const int index = entries(menuName).indexOf(text);
        QVERIFY(index >= 0);
        window->findChild<QMenu*>(menuName)->actions()[index]->trigger();
    }

    // Has the controller answer what nobody asked. The answer is in protobuf's text form.
    void answer(const std::string& text)
    {
        xcu::Response response;
        QVERIFY(google::protobuf::TextFormat::ParseFromString(text, &response));
        controller.send(response);
    }

    QString status() { return window->findChild<QStatusBar*>()->currentMessage(); }
    QList<QMdiSubWindow*> subWindows() { return window->findChild<QMdiArea*>()->subWindowList(); }

    std::unique_ptr<MainWindow> window = std::make_unique<MainWindow>();
};
