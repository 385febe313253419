// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <functional>

namespace app {

// A file that the operator has chosen to be read, whatever it is. Open for reading if it is a
// regular file with content; of anything else, such as a pipe or a device, which may never end, it
// says so on standard error. What others append while it is read is not read.
class ChosenFile : public QFile
{
public:
    // The function serves the rest of the program. It is called all the time while the file is
    // read, and by pause().
    ChosenFile(const QString& name, std::function<void()> serveFunction);

    // Serves if it is due. To be called between any two steps of some microseconds.
    void pause();

    bool seek(qint64 position) override;

protected:
    qint64 readData(char* data, qint64 size) override;

private:
    const std::function<void()> serve;
    QElapsedTimer sinceServed;
    qint64 wholeSize = 0;
    qint64 left = 0; // to be read
};

// Has the file read. The program goes on if memory runs out: the rest is given up, with a line on
// standard error.
void readChosenFile(
    const QString& name, const std::function<void()>& serve,
    const std::function<void(ChosenFile&)>& read);

} // namespace app
