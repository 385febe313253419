// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtCore>

// A home directory that lives as long as this object. Settings, documents and the working directory
// of the process point into it, so that a test never touches the user's files.
class TestHome
{
public:
    TestHome()
    {
        documents().mkpath(QStringLiteral("."));
        qputenv("HOME", directory.path().toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", directory.filePath(".config").toLocal8Bit());
        qunsetenv("XDG_CONFIG_DIRS");
        // Qt looks it up once in a process, so it is told of each new home.
        QSettings::setPath(
            QSettings::NativeFormat, QSettings::UserScope, directory.filePath(".config"));
        QDir::setCurrent(directory.path());
    }

    QDir root() const { return QDir(directory.path()); }
    QDir documents() const { return QDir(directory.filePath("Documents")); }

    // Writes a file into the home and gives its path.
    QString write(const QString& name, const QByteArray& content) const
    {
        QFile file(root().filePath(name));
        file.open(QIODevice::WriteOnly);
        file.write(content);
        return file.fileName();
    }

    // The files of one kind, such as "*.log", below the documents folder; oldest first.
    QStringList files(const QString& pattern) const
    {
        QStringList paths;
        QDirIterator found(
            documents().path(), {pattern}, QDir::Files, QDirIterator::Subdirectories);
        while (found.hasNext()) {
            paths.append(found.next());
        }
        paths.sort();
        return paths;
    }

private:
    QTemporaryDir directory;
};

// The bytes of a file; "no such file" if it cannot be read.
inline QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}
