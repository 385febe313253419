// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/stdoutcapture.h"

#include <cstdio>
#include <unistd.h>

StdoutCapture::StdoutCapture()
    : original(dup(STDOUT_FILENO))
{
    std::fflush(stdout);
    if (!file.open() || dup2(file.handle(), STDOUT_FILENO) < 0) {
        qFatal("standard output cannot be captured");
    }
}

StdoutCapture::~StdoutCapture()
{
    std::fflush(stdout);
    dup2(original, STDOUT_FILENO);
    ::close(original);
    const QByteArray captured = text();
    std::fwrite(captured.constData(), 1, static_cast<std::size_t>(captured.size()), stdout);
    std::fflush(stdout);
}

QByteArray StdoutCapture::text() const
{
    QFile reader(file.fileName());
    if (!reader.open(QIODevice::ReadOnly)) {
        qFatal("the captured output cannot be read");
    }
    return reader.readAll();
}
