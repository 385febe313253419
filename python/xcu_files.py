# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads the files of the XCU console; only to_pandas needs more than the standard library.

    import xcu_files
    log = xcu_files.read_log("drive.log")
    table = xcu_files.to_pandas("drive.log")

A file that cannot be read raises OSError or ValueError. Lines of a log that cannot be read are left
out with a warning. Times are the controller's.
"""
import functools
import typing
import warnings


class Record(typing.NamedTuple):
    number: int
    ms: int
    values: list  # raw, by channel; None for what is no number


class Tag(typing.NamedTuple):
    ms: typing.Optional[int]  # None before the first record
    text: str


class Log(typing.NamedTuple):
    names: list  # by channel, "x" for a channel without one
    records: list
    tags: list

    @property
    def columns(self):
        """A name of its own for each channel that was logged."""
        return column_names(self.names, max((len(record.values) for record in self.records), default=0))


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


class Oddities(dict):
    """What is odd in a file: each kind with its first line and its count."""

    def add(self, what, line):
        self.setdefault(what, [line, 0])[1] += 1

    def warn(self, path):
        for what, (line, count) in self.items():
            more = f" ({count} in all)" if count > 1 else ""
            place = f"{path}:{line}" if line else path
            warnings.warn(f"{place}: {what}{more}", stacklevel=3)


def column_names(labels, width):
    """A name of its own for each of so many channels, as xcu-convert gives them."""
    columns = []
    for channel in range(width):
        label = labels[channel] if channel < len(labels) else "x"
        column = f"channel {channel}" if label in ("x", "") else label
        while column in ["time_s", "tag", *columns]:
            column += f" (channel {channel})"
        columns.append(column)
    return columns


def number(text, lowest=-(2**31), highest=2**31 - 1):
    """The number that these bytes are the digits of; None for anything else."""
    is_number = text.removeprefix(b"-").isdigit() and len(text) < 20
    return int(text) if is_number and lowest <= int(text) <= highest else None


def numbers(texts, odd, line):
    """The values of a record; None for what is none."""
    try:
        values = list(map(int, texts))
    except ValueError:
        values = [2**31]
    if not b"".join(texts).translate(None, b"0123456789-") and max(map(abs, values), default=0) < 2**31:
        return values
    values = list(map(number, texts))
    for text, value in zip(texts, values):
        if value is None and text:
            odd.add("a value that is no number of 32 bits, taken as missing", line)
    return values


def decode(data, odd, line):
    try:
        return data.decode()
    except UnicodeDecodeError:
        odd.add("bytes that are not UTF-8, replaced", line)
        return data.decode("utf-8", "replace")


def parse_log(lines, odd, first=1):
    """Yields what the lines of a log say: (line number, labels, Record or Tag).

    The time of a tag is signed, as it stands; -1 if it is no number. The last line may be torn.
    """
    for at, line in enumerate(lines, first):
        is_whole = line.endswith(b"\n")
        line = line.rstrip(b"\r\n")
        kind, *texts = line.removeprefix(b"\xef\xbb\xbf").partition(b"\0")[0].split(b";")
        if kind == b"$" and len(texts) > 1:
            if not is_whole:
                odd.add("torn line", at)
            time = number(texts[0], -(2**63), 2**63 - 1)
            yield at, Tag(-1 if time is None else time, decode(b";".join(texts[1:]), odd, at))
        elif not is_whole:
            odd.add("torn line, left out", at)
        elif kind == b"#" and len(texts) > 1:
            if at > 1:
                odd.add("another header; the last one names the columns", at)
            yield at, [decode(text, odd, at) for text in texts[1:-1][:128]]
        elif line:
            head = [number(text, 0, 2**32 - 1) for text in [kind, *texts[:1]]]
            if len(texts) < 2 or None in head or not line.endswith(b";") or b"\0" in line:
                odd.add("not a record, left out", at)
                continue
            yield at, Record(*head, numbers(texts[1:-1], odd, at))


def read_log(path):
    """A session's log. A last record that a power cut has torn is left out."""
    names, records, tags, odd = [], [], [], Oddities()
    with open(path, "rb") as lines:
        for _, found in parse_log(lines, odd):
            if isinstance(found, Record):
                records.append(found)
            elif isinstance(found, Tag):
                is_known = found.ms != -1 or (records and records[-1].ms == 2**32 - 1)
                tags.append(found._replace(ms=found.ms % 2**32 if is_known else None))
            else:
                names = found
    odd.warn(path)
    return Log(names, records, tags)


def naming(read):
    """The reader, with errors that name the file."""
    @functools.wraps(read)
    def reader(path):
        try:
            return read(path)
        except (ValueError, TypeError, AttributeError) as error:  # the last two: fields of another type
            raise ValueError(f"{path}: damaged: {error}") from error

    return reader


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
    """The numbers of 32 bits of a repeated field of a protobuf message."""
    numbers, at = [], 0
    while at < len(data):
        value, at = varint(data, at)
        numbers.append((value + 2**31) % 2**32 - 2**31)
    return numbers


@naming
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


@naming
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


@naming
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


def to_pandas(path):
    """A log or a black-box record as a pandas.DataFrame: a column for each channel and "tag".

    The index is the time, a Timedelta; it goes back only where the clock does, which is warned of. A
    column is int32, or Int32 with NA where records lack values. A tag is in the row of its record,
    before the first record in that of the first; one whose record was left out has a row of its own.
    """
    import xcu_pandas

    return xcu_pandas.read(path)
