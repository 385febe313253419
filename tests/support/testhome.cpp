// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/testhome.h"

#include <QDirIterator>
#include <QFile>

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

QString TestHome::write(const QString& name, const QByteArray& content) const
{
    QFile file(root().filePath(name));
    file.open(QIODevice::WriteOnly);
    file.write(content);
    return file.fileName();
}

QStringList TestHome::files(const QString& pattern) const
{
    QStringList paths;
    QDirIterator found(documents().path(), {pattern}, QDir::Files, QDirIterator::Subdirectories);
    while (found.hasNext()) {
        paths.append(found.next());
    }
    paths.sort();
    return paths;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}
