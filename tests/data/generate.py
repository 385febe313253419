#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the sample files of this folder: one short drive in every format that can be opened.

Two traces come from the tools that define their layouts: log2asc of can-utils, and the log writer
of python3-can. Where these are not installed, their files stay as they are.
"""
import pathlib
import shutil
import subprocess

START = 12.345  # seconds
DRIVE = [  # seconds from the start, identifier, bytes
    (0.000, 0x123, "0102AA"),
    (0.010, 0x7FF, "1122334455667788"),
    (0.025, 0x00A, ""),
    (1.500, 0x123, "0302AA"),
    (2.000, 0x456, "FF"),
]
FOLDER = pathlib.Path(__file__).parent


def write(name, texts, end="\n"):
    (FOLDER / name).write_bytes("".join(text + end for text in texts).encode())


def text_traces():
    drive = [
        (START + time, can_id, [data[i : i + 2] for i in range(0, len(data), 2)])
        for time, can_id, data in DRIVE
    ]
    names = "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD"
    write("drive.candump", [f"({t:.6f}) can1 {i:03x}#{''.join(d).lower()}" for t, i, d in drive])
    write(
        "drive.txt",
        [f"10:00:{t:.3f} -> CAN:id={i}:len={len(d)}:{':'.join(d)}" for t, i, d in drive],
    )
    write(
        "drive.trc",
        [f"{t:.3f}\tRx\t1\t{i:X}\t{len(d)}\t{''.join(d)}".replace(".", ",") for t, i, d in drive],
        "\r\n",
    )
    write(
        "drive.csv",
        ["Recorded on the bench", "", names]
        + [f"R,{t:.3f},{i:X},{','.join((d + 8 * [''])[:8])},...,1,10" for t, i, d in drive],
        "\r\n",
    )
    write(
        "drive.trace",
        ["; bench, 500 kbit/s"]
        + [f"1) {t * 1000:10.1f} Rx {i:04X} {len(d)} {' '.join(d)}" for t, i, d in drive],
    )


def log_and_signals():
    labels = ["Oil pressure (ADC3)", "x", "Clutch µ"] + ["x"] * 125
    records = [f"{n};{5000 + 10 * n};{812 - n};0;{-15 * n};" for n in range(20)]
    records.insert(10, "$;5090;Hard shift")
    write("session.log", ["#;timestamp;" + ";".join(labels) + ";"] + records)
    signals = [
        "0x123;8;16;0.1;0;1;0;0;0x0;-1;Oil temperature;%12",
        "0x123;16;8;1e-07;-40;4;0;8;0x1;3;Öl 100%1;%12",
        "0x7ff;0;32;1;0;5;0;0;0x0;8;single",
    ]
    write("signals.csv", signals, "\r\n")


def varint(value):
    value &= 2**64 - 1
    if value < 0x80:
        return bytes([value])
    return bytes([value & 0x7F | 0x80]) + varint(value >> 7)


def number(place, value):
    return varint(place << 3) + varint(value)


def block(place, content):
    return varint(place << 3 | 2) + varint(len(content)) + content


def blackbox():
    content = b""
    for n in range(20):
        values = block(1, varint(n) + varint(-n)) + block(2, varint(100 * n))
        content += block(1, values + number(3, 5000 + 10 * n))
    for time, can_id, data in DRIVE:
        place = number(3, 5000 + round(1000 * time)) + number(4, 2) + number(5, can_id)
        content += block(2, block(1, bytes.fromhex(data)) + place)
    (FOLDER / "drive.rbx").write_bytes(content)


def other_tools():
    log = FOLDER / "pythoncan.candump"
    try:
        import can
    except ImportError:
        return
    with can.CanutilsLogWriter(str(log)) as writer:
        for time, can_id, data in DRIVE:
            message = can.Message(170000 + time, can_id, False, channel=1, data=bytes.fromhex(data))
            writer.on_message_received(message)
    if shutil.which("log2asc"):
        command = ["log2asc", "-I", log, "-O", FOLDER / "log2asc.asc", "can0", "can1"]
        subprocess.run(command, check=True, env={"TZ": "UTC", "PATH": "/usr/bin"})


if __name__ == "__main__":
    for generate in (text_traces, log_and_signals, blackbox, other_tools):
        generate()
