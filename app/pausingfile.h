// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <fstream>
#include <functional>

namespace console {

// Files that call a function before they read each block.

class PausingFile : public QFile
{
public:
    PausingFile(const QString& name, std::function<void()> pauseFunction)
        : QFile(name)
        , pause(std::move(pauseFunction))
    {}

protected:
    qint64 readData(char* data, qint64 size) override
    {
        pause();
        return QFile::readData(data, size);
    }

private:
    std::function<void()> pause;
};

class PausingStream : public std::istream
{
public:
    PausingStream(const QString& name, std::function<void()> pauseFunction)
        : std::istream(nullptr)
        , buffer(std::move(pauseFunction))
    {
        if (buffer.open(QFile::encodeName(name).constData(), std::ios::in | std::ios::binary)) {
            rdbuf(&buffer);
        }
    }

private:
    struct Buffer : std::filebuf
    {
        explicit Buffer(std::function<void()> pauseFunction)
            : pause(std::move(pauseFunction))
        {}

        std::streamsize xsgetn(char* data, std::streamsize size) override
        {
            pause();
            return std::filebuf::xsgetn(data, size);
        }

        std::function<void()> pause;
    } buffer;
};

} // namespace console
