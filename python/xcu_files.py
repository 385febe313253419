# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads the files of the XCU console, with the standard library only.

    import xcu_files
    log = xcu_files.read_log("drive.log")
    table = xcu_files.to_pandas(log)        # needs pandas

Files are read as text or bytes are; what cannot be read raises OSError or ValueError. Times are the
controller's.
"""
import re
import typing


class Record(typing.NamedTuple):
    number: int
    ms: int
    values: list  # raw, by channel


class Tag(typing.NamedTuple):
    ms: typing.Optional[int]  # None before the first record
    text: str


class Log(typing.NamedTuple):
    names: list  # by channel, "x" for a channel without one
    records: list
    tags: list

    @property
    def columns(self):
        """A name of its own for each channel that was logged, as xcu-convert gives them."""
        width = max((len(record.values) for record in self.records), default=0)
        names = [name if name not in ("x", "") else None for name in self.names]
        names += [None] * (width - len(names))
        columns = []
        for channel, name in enumerate(names[:width]):
            column = name or f"channel {channel}"
            while column in ["time_s", "tag", *columns]:
                column += f" (channel {channel})"
            columns.append(column)
        return columns


class Frame(typing.NamedTuple):
    time: float  # s
    bus: int
    id: int
    extended: bool
    fd: bool
    brs: bool
    data: bytes


class Blackbox(typing.NamedTuple):
    records: list  # BlackboxRecord
    frames: list  # Frame; whether it was an FD frame is not in the file


class BlackboxRecord(typing.NamedTuple):
    ms: int
    inputs: list
    outputs: list


class Channel(typing.NamedTuple):
    channel: int  # -1: not logged
    name: str
    kind: str  # "input" or "output"
    type: int
    number: int


class Signal(typing.NamedTuple):
    frame: int
    offset: int
    length: int
    multiplier: float
    add: float
    show: int
    mux_offset: int
    mux_length: int
    mux_value: int
    frame_length: int
    name: str


def read_log(path):
    """A session's log. A last line that a power cut has torn is left out."""
    names, records, tags = [], [], []
    with open(path, encoding="utf-8", errors="replace", newline="\n") as lines:
        for line in lines:
            kind, *fields = line.rstrip("\r\n").split(";")
            if kind.lstrip("\ufeff") == "#":
                names = fields[1:-1]  # the last field is the one behind the closing ";"
            elif kind == "$" and len(fields) > 1:
                ms = int(fields[0])
                known = ms != -1 or (records and records[-1].ms == 2**32 - 1)
                tags.append(Tag(ms % 2**32 if known else None, ";".join(fields[1:])))
            elif line.endswith((";\n", ";\r\n")) and kind.isdigit() and fields[0].isdigit():
                values = [int(value) for value in fields[1:-1]]
                records.append(Record(int(kind), int(fields[0]), values))
    return Log(names, records, tags)


_CANDUMP = re.compile(
    r"\((-?[\d.]+)\) +\D*(\d+) +([0-9a-fA-F]+)#(?:#([0-9a-fA-F]))?([0-9a-fA-F]*)(?: [RT])?\s*"
)


def read_candump(path):
    """The frames of a capture; lines of another form, such as remote frames, are left out."""
    frames = []
    with open(path, encoding="ascii", errors="replace") as lines:
        for found in filter(None, map(_CANDUMP.fullmatch, lines)):
            time, bus, can_id, mark, data = found.groups()
            if len(data) % 2 == 0:
                fd = mark is not None or len(data) > 16
                frames.append(
                    Frame(float(time), int(bus), int(can_id, 16),
                          len(can_id) > 3 or int(can_id, 16) > 0x7FF, fd,
                          bool(int(mark or "0", 16) & 1), bytes.fromhex(data))
                )
    return frames


def varint(data, at):
    """A number of a protobuf message, and the place behind it."""
    value = shift = 0
    while True:
        if at >= len(data):
            raise ValueError("the message breaks off")
        byte = data[at]
        value |= (byte & 0x7F) << shift
        at, shift = at + 1, shift + 7
        if byte < 0x80:
            return value, at


def signed(value):
    return value - 2**64 if value >> 63 else value


def fields(data):
    """Yields (number, value) of one protobuf message: an int, or bytes for all that has a length."""
    at = 0
    while at < len(data):
        tag, at = varint(data, at)
        if tag & 7 in (1, 5):
            size = 8 if tag & 7 == 1 else 4
            value, at = data[at : at + size], at + size
        else:
            value, at = varint(data, at)
            if tag & 7 == 2:
                if at + value > len(data):
                    raise ValueError("the message breaks off")
                value, at = data[at : at + value], at + value
        yield tag >> 3, value


def packed(data):
    """The numbers of a repeated field of a protobuf message."""
    numbers, at = [], 0
    while at < len(data):
        value, at = varint(data, at)
        numbers.append(signed(value))
    return numbers


def read_rbx(path):
    """A black-box record."""
    records, frames = [], []
    with open(path, "rb") as file:
        for kind, element in fields(file.read()):
            field = dict(fields(element))
            if kind == 1:
                records.append(
                    BlackboxRecord(field.get(3, 0) % 2**32, packed(field.get(1, b"")), packed(field.get(2, b"")))
                )
            elif kind == 2:
                can_id, data = field.get(5, 0) % 2**29, field.get(1, b"")
                frames.append(
                    Frame(field.get(3, 0) / 1000, field.get(4, 0), can_id, can_id > 0x7FF,
                          len(data) > 8, False, data)
                )
    return Blackbox(records, frames)


def read_xcu(path):
    """The inputs and outputs of a configuration backup."""
    with open(path, "rb") as file:
        data = file.read()
    length = int.from_bytes(data[:4], "little")
    channels = []
    for kind, entry in fields(data[4 : 4 + length]):
        if kind in (1, 2):
            field = dict(fields(entry))
            channels.append(
                Channel(signed(field.get(2, 0)), field.get(1, b"").decode("utf-8", "replace"),
                        "input" if kind == 1 else "output", field.get(3, 0), field.get(4, 0))
            )
    return channels


def read_signals(path):
    """A signal set, up to its first empty line."""
    signals = []
    with open(path, encoding="utf-8", newline="\n") as lines:
        for line in lines:
            texts = line.strip().split(";")
            if texts == [""]:
                break
            texts += [""] * (11 - len(texts))
            numbers = [float(text) if i in (3, 4) else int(text or "0", 16 if i in (0, 8) else 10)
                       for i, text in enumerate(texts[:10])]
            signals.append(Signal(*numbers, texts[10]))
    return signals


def to_pandas(content):
    """A log, a black-box record's or a capture's frames as a pandas.DataFrame with a time index.

    A log has a column a channel and the column "tag"; tags without a record have rows of their own.
    """
    import pandas

    if not isinstance(content, Log):
        table = pandas.DataFrame(content, columns=Frame._fields)
        table.index = pandas.to_timedelta(table.pop("time"), unit="s").rename("time")
        return table
    table = pandas.DataFrame([record.values for record in content.records], columns=content.columns)
    table["ms"] = [record.ms for record in content.records]
    table["tag"] = None
    places = {record.ms: place for place, record in enumerate(content.records)}
    alone = []
    for tag in content.tags:
        if tag.ms in places:
            before = table.at[places[tag.ms], "tag"]
            table.at[places[tag.ms], "tag"] = tag.text if before is None else f"{before}; {tag.text}"
        else:
            alone.append({"ms": tag.ms, "tag": tag.text})
    if alone:
        table = pandas.concat([pandas.DataFrame(alone), table])
    table.index = pandas.to_timedelta(table.pop("ms"), unit="ms").rename("time")
    return table[[*content.columns, "tag"]]
