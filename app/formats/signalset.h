// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "formats/cansignaldata.h"

#include <QVector>

class QIODevice;

namespace formats {

// Signal set files: UTF-8, one signal a line, the fields of CanSignalData in the order of the
// signal table, separated by ";", lines ended by carriage return and line feed. There are no quotes
// and no escapes: a name that holds ";" or a line break spoils its line. Whether a signal is
// plotted is not kept.

// Each line ends in a twelfth field, the characters "%12", as all files in use have it.
QByteArray signalSet(const QVector<CanSignalData>& signalList);

// The signals up to the first empty line. A number that cannot be read is 0, as is one that a short
// line does not have. A negative multiplexer value, which is written with 16 digits, comes back as
// 0. A device that is not open gives no signals.
QVector<CanSignalData> readSignalSet(QIODevice& device);

} // namespace formats
