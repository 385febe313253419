# SPDX-License-Identifier: GPL-3.0-or-later
"""What files and curves must hold, given what left a controller."""
import struct

from wire import configuration

INPUTS = ["ADC", "Freq", "Digital", "PHW", "CAN", "ADC sw", "Const", "CMP", "DIV", "Isense", "Duty",
          "MapIn", "AHRS", "", "CanObj", "GR", "CSl"]
OUTPUTS = ["PWM", "DAC", "CAN", "I", "MAP", "SPL", "PWR"]


def channel_labels(line):
    """As the configuration names them, "x" for the channels that it does not."""
    labels = ["x"] * 128
    for answer in line.answers("configuration"):
        size = struct.unpack_from("<I", answer.data)[0]
        block = configuration.ConfigData.FromString(answer.data[4 : 4 + size])
        for entries, words in ((block.inputs, INPUTS), (block.outputs, OUTPUTS)):
            for entry in entries:
                if entry.logChannel >= 0:
                    word = words[entry.type]
                    label = f"{entry.name} ({word}{entry.number})" if entry.name else word
                    labels[entry.logChannel] = label
    return labels


def log_line(record):
    return "".join(f"{number};" for number in [record.sample_number, record.timestamp,
                                               *record.values]) + "\n"


def logs(line):
    """The text of each session. A file is closed when its connection ends."""
    found, connection = [], None
    header = "#;timestamp;" + "".join(f"{label};" for label in channel_labels(line)) + "\n"
    for response in line.responses:
        member, message = response.answer
        if member == "logger_started":
            found.append([header])
            connection = response.connection
        elif member == "logger_data" and response.connection == connection:
            found[-1].append(log_line(message))
    return ["".join(lines) for lines in found]


def candump_line(frame):
    identifier = f"{frame.id:0{8 if frame.extended else 3}x}"
    marker = f"#{int(frame.brs)}" if frame.fd else ""
    seconds = f"{frame.timestamp / 1000:.6f}"
    return f"({seconds}) can{frame.bus} {identifier}#{marker}{frame.data.hex()}\n"


def single(number):
    return struct.unpack("f", struct.pack("f", number))[0]


def opened_curve(log, channel):
    """Time in single precision, from the first record on."""
    records = [line.split(";") for line in log.splitlines() if line[0] not in "#$"]
    first = int(records[0][1])
    return [(single(single(int(record[1]) - first) / 1000), int(record[2 + channel]))
            for record in records]


def points_of(answer):
    numbers = (point.split() for point in answer.split(";") if point)
    return [(float(key), float(value)) for key, value in numbers]
