// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linetrace.h"

#include "simulator/controllerunit.h"

#include <QDateTime>

namespace simulator {

LineTrace::LineTrace(const QString& path)
    : file(path)
{
    if (!path.isEmpty()) {
        file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
}

void LineTrace::follow(ControllerUnit& unit)
{
    if (!file.isOpen()) {
        return;
    }
    const MockedPort* port = &unit.port;
    const QString who = unit.controller.options().serialNumber;
    QObject::connect(port, &MockedPort::plugged, [=] { add(who, "plugged"); });
    QObject::connect(port, &MockedPort::unplugged, [=] { add(who, "gone"); });
    QObject::connect(port, &MockedPort::opened, [=] { add(who, "opened"); });
    QObject::connect(port, &MockedPort::closed, [=] { add(who, "closed"); });
    QObject::connect(port, &MockedPort::received, [=](const QByteArray& bytes) {
        add(who, "in", bytes.toHex());
    });
    QObject::connect(
        port, &MockedPort::sent, [=](const QByteArray& bytes) { add(who, "out", bytes.toHex()); });
}

void LineTrace::add(const QString& who, const char* what, const QByteArray& details)
{
    if (!file.isOpen()) {
        return;
    }
    QByteArray line = QByteArray::number(QDateTime::currentMSecsSinceEpoch());
    line += ' ' + who.toUtf8() + ' ' + what;
    if (!details.isEmpty()) {
        line += ' ' + details;
    }
    file.write(line + '\n');
}

} // namespace simulator
