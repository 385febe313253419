// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// One signal that is decoded from imported frames: a row of the signal table. Bit positions and
// lengths are as the user typed them and may be anything; the decoder checks what it needs.
struct CanSignalData
{
    int frameId = 0;
    int bitOffset = 0;
    int bitLength = 0;
    double multiplier = 0.0;
    double addend = 0.0; // added after the factor
    bool plotted = false;
    int muxOffset = 0;
    int muxLength = 0; // 0: no multiplexer
    qint64 muxValue = 0;
    int showMode = 0;        // see SignalMode
    int requiredLength = -1; // bytes that a frame must have; -1 takes any
    QString signalName;
};
