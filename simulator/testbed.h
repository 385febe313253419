// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/controlleroptions.h"

#include <QProcessEnvironment>
#include <QString>
#include <memory>

// A view of /sys and /dev of its own, in a temporary directory, for programs that are started with
// environment(). A process has one testbed at the most; it may use it itself if it was started
// under the preload.
class Testbed
{
public:
    Testbed();
    ~Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;

    QString root() const;

    // The preload library and the variables that make a program see the testbed.
    static QString preloadLibrary();
    void addTo(QProcessEnvironment& environment) const;

    // Puts a controller on the USB bus, or takes it away. The terminal is the device that the
    // port's node stands for, such as "/dev/pts/7"; the name is that of the port, "ttyACM...".
    void addPort(
        const QString& name, const QString& terminal, const QString& serialNumber, Guise guise);
    void removePort(const QString& name);

private:
    struct Private;

    std::unique_ptr<Private> d;
};
