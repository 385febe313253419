// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/statistics.h"

#include "simulator/controllerunit.h"

namespace simulator {

QString statisticsText(const ControllerUnit& unit)
{
    const VirtualController& controller = unit.controller;
    QString text;
    const auto add = [&](const QString& name, quint64 count) {
        text +=
            controller.options().serialNumber + ": " + name + ' ' + QString::number(count) + '\n';
    };
    const google::protobuf::OneofDescriptor& members = *xcu::Command::descriptor()->oneof_decl(0);
    quint64 total = controller.count(xcu::Command::REQ_NOT_SET);
    for (int i = 0; i < members.field_count(); ++i) {
        const google::protobuf::FieldDescriptor& member = *members.field(i);
        const auto number = static_cast<xcu::Command::ReqCase>(member.number());
        if (const int count = controller.count(number)) {
            add("received " + QString::fromStdString(member.name()), count);
            total += count;
        }
    }
    add(QStringLiteral("commands received"), total);
    add(QStringLiteral("broken payloads received"), controller.brokenPayloads());
    add(QStringLiteral("responses sent"), controller.responsesSent());
    add(QStringLiteral("records sent"), controller.recordsSent());
    add(QStringLiteral("frames sent"), controller.framesSent());
    add(QStringLiteral("bytes in"), unit.port.bytesIn());
    add(QStringLiteral("bytes out"), unit.port.bytesOut());
    return text;
}

} // namespace simulator
