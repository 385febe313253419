#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the sample files of this folder: one short drive in every format that can be opened.

Files in the layouts of other tools come from those tools where they are installed: log2asc of
can-utils, and the log writer of python3-can.
"""
import os
import pathlib
import subprocess

START = 12.345  # seconds
DRIVE = [  # seconds from the start, identifier, bytes
    (0.000, 0x123, "0102aa"),
    (0.010, 0x7FF, "1122334455667788"),
    (0.025, 0x00A, ""),
    (1.500, 0x123, "0302aa"),
    (2.000, 0x456, "ff"),
]
FOLDER = pathlib.Path(__file__).parent


def pairs(data):
    return [data[i : i + 2].upper() for i in range(0, len(data), 2)]


def lines(name, texts, end="\n"):
    (FOLDER / name).write_bytes("".join(text + end for text in texts).encode())


def text_traces():
    drive = [(time, START + time, can_id, data) for time, can_id, data in DRIVE]
    lines("drive.candump", [f"({t:.6f}) can1 {i:03x}#{d}" for _, t, i, d in drive])
    lines(
        "drive.txt",
        [
            f"10:00:{t:06.3f} -> CAN:id={i}:len={len(d) // 2}:{':'.join(pairs(d))}"
            for _, t, i, d in drive
        ],
    )
    lines(
        "drive.trc",
        [
            "\t".join([f"{t:.3f}".replace(".", ","), "Rx", "1", f"{i:X}", str(len(d) // 2), d])
            for _, t, i, d in drive
        ],
        "\r\n",
    )
    lines(
        "drive.csv",
        ["Recorded on the bench", "", "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD"]
        + [
            ",".join(["R", f"{t:.3f}", f"{i:X}"] + (pairs(d) + [""] * 8)[:8] + ["...", "1", "10"])
            for _, t, i, d in drive
        ],
        "\r\n",
    )
    lines(
        "drive.trace",
        ["; bench, 500 kbit/s"]
        + [
            f"{n:6}) {t * 1000:10.1f} Rx {i:04X} {len(d) // 2} {' '.join(pairs(d))}"
            for n, (_, t, i, d) in enumerate(drive, 1)
        ],
    )


def log():
    labels = ["Oil pressure (ADC3)", "x", "Clutch µ"] + ["x"] * 125
    records = [f"{n};{5000 + 10 * n};{812 - n};0;{-15 * n};" for n in range(20)]
    records.insert(10, "$;5090;Hard shift")
    lines("session.log", ["#;timestamp;" + "".join(label + ";" for label in labels)] + records)


def varint(value):
    value &= 2**64 - 1
    out = b""
    while value > 0x7F:
        out += bytes([value & 0x7F | 0x80])
        value >>= 7
    return out + bytes([value])


def number(place, value):
    return varint(place << 3) + varint(value)


def block(place, content):
    return varint(place << 3 | 2) + varint(len(content)) + content


def blackbox():
    log_records = [
        block(1, varint(n) + varint(-n)) + block(2, varint(100 * n)) + number(3, 5000 + 10 * n)
        for n in range(20)
    ]
    frames = [
        block(1, bytes.fromhex(data)) + number(3, 5000 + round(1000 * time)) + number(4, 2)
        + number(5, can_id)
        for time, can_id, data in DRIVE
    ]
    content = [block(1, record) for record in log_records] + [block(2, frame) for frame in frames]
    (FOLDER / "drive.rbx").write_bytes(b"".join(content))


def signals():
    lines(
        "signals.csv",
        [
            "0x123;8;16;0.1;0;1;0;0;0x0;-1;Oil temperature;%12",
            "0x123;16;8;1e-07;-40;4;0;8;0x1;3;Öl 100%1;%12",
            "0x7ff;0;32;1;0;5;0;0;0x0;8;single",
        ],
        "\r\n",
    )


def other_tools():
    source = FOLDER / "pythoncan.candump"
    try:
        import can

        with can.CanutilsLogWriter(str(source)) as writer:
            for time, can_id, data in DRIVE:
                writer.on_message_received(
                    can.Message(
                        timestamp=1700000000 + time, arbitration_id=can_id, channel=1,
                        data=bytes.fromhex(data), is_extended_id=False,
                    )
                )
    except ImportError:
        print(f"python3-can is not installed: {source.name} stays as it is")
    try:
        command = ["log2asc", "-I", source, "-O", FOLDER / "log2asc.asc", "can0", "can1"]
        subprocess.run(command, check=True, env=dict(os.environ, TZ="UTC"))
    except FileNotFoundError:
        print("can-utils is not installed: log2asc.asc stays as it is")


for generate in (text_traces, log, blackbox, signals, other_tools):
    generate()
