// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulator/linkframing.h"

#include <QtEndian>

using namespace simulator;

namespace {

constexpr int headerSize = 4;

} // namespace

void simulator::appendFrame(QByteArray& line, const google::protobuf::MessageLite& message)
{
    const int start = line.size();
    const auto size = static_cast<quint32>(message.ByteSizeLong());
    line.resize(start + headerSize + static_cast<int>(size));
    qToLittleEndian(size, line.data() + start);
    message.SerializeWithCachedSizesToArray(
        reinterpret_cast<quint8*>(line.data() + start + headerSize));
}

void FrameReader::append(const QByteArray& bytes)
{
    buffer.remove(0, consumed);
    consumed = 0;
    buffer += bytes;
}

bool FrameReader::next(std::string& payload)
{
    const qint64 available = buffer.size() - consumed - headerSize;
    const char* header = buffer.constData() + consumed;
    if (available < 0 || available < qint64(qFromLittleEndian<quint32>(header))) {
        return false;
    }
    payload.assign(header + headerSize, qFromLittleEndian<quint32>(header));
    consumed += headerSize + static_cast<int>(payload.size());
    return true;
}
