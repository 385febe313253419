# SPDX-License-Identifier: GPL-3.0-or-later
"""What files, texts, tables and curves must hold, given what went over the line."""
import itertools
import struct

from wire import decode

INPUTS = ["ADC", "Freq", "Digital", "PHW", "CAN", "ADC sw", "Const", "CMP", "DIV", "Isense", "Duty",
          "MapIn", "AHRS", "", "CanObj", "GR", "CSl"]
OUTPUTS = ["PWM", "DAC", "CAN", "I", "MAP", "SPL", "PWR"]
MODES = {1: "Intermitten", 2: "Continuous", 3: "RunFault", 4: "Inactive"}
STATUS = {
    "logger_started": lambda _: "Received logger started",
    "logger_data": lambda record: f"Received logger data {record['timestamp']}",
    "candump_started": lambda _: "Candump started",
    "candump_frame": lambda frame: f"Received can{frame['bus']} frame #{frame['id']:3x}",
    "driver_calibration_started": lambda _: "Adptation start response",
    "driver_calibration_status": lambda run: f"Adptation {'Busy' if run['status'] else 'Idle'}",
}


def channel_labels(line):
    """As the configuration names them; None for the channels that it does not."""
    labels = [None] * 128
    for answer in line.answers("configuration"):
        size = struct.unpack_from("<I", answer["data"])[0]
        configuration = decode("ConfigData", answer["data"][4 : 4 + size])
        entries = [(entry, INPUTS) for entry in configuration["inputs"]]
        entries += [(entry, OUTPUTS) for entry in configuration["outputs"]]
        for entry, words in entries:
            name, word = entry["name"].decode(), words[entry["type"]]
            if entry["logChannel"] >= 0:
                label = f"{name} ({word}{entry['number']})" if name else word
                labels[entry["logChannel"]] = label
    return labels


def log_line(record):
    values = [record["sample_number"], record["timestamp"], *record["values"]]
    return "".join(f"{value};" for value in values) + "\n"


def logs(line):
    """(ms since 1970, text) of each session. A file is closed when its connection ends."""
    found, connection = [], None
    header = "#;timestamp;" + "".join(f"{label or 'x'};" for label in channel_labels(line)) + "\n"
    for response in line.responses:
        member, message = response.answer
        if member == "logger_started":
            found.append((response.time, [header]))
            connection = response.connection
        elif member == "logger_data" and response.connection == connection:
            found[-1][1].append(log_line(message))
    return [(time, "".join(lines)) for time, lines in found]


def candump_line(frame):
    identifier = f"{frame['id']:0{8 if frame['extended'] else 3}x}"
    marker = f"#{frame['brs']}" if frame["fd"] else ""
    seconds = f"{frame['timestamp'] / 1000:.6f}"
    return f"({seconds}) can{frame['bus']} {identifier}#{marker}{frame['data'].hex()}\n"


def candump_row(frame):
    cells = [f"{byte:02x}" for byte in frame["data"][:8]]
    cells += [""] * (8 - len(cells)) + [str(len(frame["data"])), f"CAN{frame['bus']}"]
    return "\t".join([*cells, f"{frame['timestamp'] / 1000:.3f}"])


def fault_row(fault):
    numbers = [str(fault[field] & 0xFFFF) for field in ("category", "fault_id", "component_id")]
    kind = "Warning" if fault["type"] == 1 else "Fault"
    return "\t".join([kind, MODES.get(fault["mode"], ""), *numbers, ""])


def status_texts(line):
    answers = (response.answer for response in line.responses)
    return [STATUS[member](message) for member, message in answers if member in STATUS]


def without_repeats(texts):
    """A status bar does not tell a text that it shows already."""
    return [text for text, _ in itertools.groupby(texts)]


def single(number):
    return struct.unpack("f", struct.pack("f", number))[0]


def opened_curve(logs, channel):
    """Of files opened in this order: one origin, time in single precision. The end of a line,
    behind its last separator, is one more value, 0."""
    lines = "".join(logs).splitlines(True)
    records = [line.split(";") for line in lines if line[0] not in "#$"]
    first = int(records[0][1])
    return sorted(
        (single(single(int(record[1]) - first) / 1000), int(record[2 + channel].strip() or 0))
        for record in records
        if 2 + channel < len(record)
    )


def points_of(answer):
    numbers = (point.split() for point in answer.split(";") if point)
    return sorted((float(key), float(value)) for key, value in numbers)
