// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

// A home directory that lives as long as this object. Settings, documents and the working directory
// of the process point into it, so that a test never touches the user's files. Make it before the
// first QSettings or QStandardPaths call.
class TestHome
{
public:
    TestHome();
    ~TestHome();
    TestHome(const TestHome&) = delete;
    TestHome& operator=(const TestHome&) = delete;

    QDir root() const { return QDir(directory.path()); }
    QDir documents() const { return QDir(directory.filePath("Documents")); }

    // Writes a file into the home and gives its path.
    QString write(const QString& name, const QByteArray& content) const;

    // The files of one kind, such as "*.log", below the documents folder; oldest first.
    QStringList files(const QString& pattern) const;

private:
    QTemporaryDir directory;
    QString workingDirectory;
};

// The bytes of a file; "no such file" if it cannot be read.
QByteArray contents(const QString& path);
