// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "simulator/link.h"

#include <QProcessEnvironment>
#include <QString>

// umockdev.h does not go with Qt's keywords.
struct _UMockdevTestbed;   // NOLINT(bugprone-reserved-identifier)
struct _UMockdevIoctlBase; // NOLINT(bugprone-reserved-identifier)

namespace simulator {

// A view of /sys and /dev of its own, in a temporary directory, for programs that are started with
// the environment given here. A process has one testbed at the most; it sees the testbed itself if
// it was started under the preload.
class Testbed
{
public:
    Testbed();
    ~Testbed();
    Testbed(const Testbed&) = delete;
    Testbed& operator=(const Testbed&) = delete;

    QString root() const { return rootDirectory; }

    // Adds the variables that make a program use the testbed.
    QProcessEnvironment addTo(QProcessEnvironment environment) const;

    // Puts a controller on the USB bus, or takes it away. The name is that of the port, such as
    // "ttyACM0"; the terminal is what its node in /dev stands for, such as "/dev/pts/7".
    void addPort(
        const QString& name, const QString& terminal, const QString& serialNumber, Mode mode);
    void removePort(const QString& name);

private:
    _UMockdevTestbed* const library;
    _UMockdevIoctlBase* const ioctls;
    QString rootDirectory;
};

} // namespace simulator
