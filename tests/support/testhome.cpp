// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/testhome.h"

#include <QtGlobal>

TestHome::TestHome()
    : workingDirectory(QDir::currentPath())
{
    Q_ASSERT(directory.isValid());
    QDir(directory.path()).mkpath("Documents");
    qputenv("HOME", directory.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", directory.filePath(".config").toLocal8Bit());
    qunsetenv("XDG_CONFIG_DIRS");
    QDir::setCurrent(directory.path());
}

TestHome::~TestHome()
{
    QDir::setCurrent(workingDirectory);
}
