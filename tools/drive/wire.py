# SPDX-License-Identifier: GPL-3.0-or-later
"""The link as a stranger sees it: messages by the schema's text alone, and the traces of
virtual-xcu."""
import functools
import pathlib
import re
import struct

SCHEMA_FOLDER = pathlib.Path(__file__).resolve().parent.parent.parent / "schema"
FIELD = re.compile(r"^ +(repeated )?(\w+) (\w+) = (\d+);", re.MULTILINE)
BLOBS = ("bytes", "string")


def read_schema():
    """Message name to its fields: number to (name, type, is repeated)."""
    text = "".join(path.read_text() for path in sorted(SCHEMA_FOLDER.glob("*.proto")))
    text = re.sub(r"^ *enum.*?}", "", text, flags=re.MULTILINE | re.DOTALL)
    messages = re.findall(r"^message (\w+) {(?:}|(.*?)^})$", text, re.MULTILINE | re.DOTALL)
    return {
        message: {int(number): (name, kind, bool(many))
                  for many, kind, name, number in FIELD.findall(body)}
        for message, body in messages
    }


SCHEMA = read_schema()


def varint(value):
    value &= (1 << 64) - 1
    low = [value >> shift & 0x7F for shift in range(0, max(value.bit_length(), 1), 7)]
    return bytes([part | 0x80 for part in low[:-1]] + low[-1:])


def encode(message, values):
    """Fields by number; those that are 0 or empty are left out."""
    out = b""
    for number, (name, kind, many) in sorted(SCHEMA[message].items()):
        value = values.get(name)
        if kind in SCHEMA and value is not None:
            value = encode(kind, value)
        elif not value:
            continue
        elif many:
            value = b"".join(map(varint, value))
        elif kind not in BLOBS:
            out += varint(number << 3) + varint(int(value))
            continue
        out += varint(number << 3 | 2) + varint(len(value)) + value
    return out


def command(member, **fields):
    return encode("Command", {"protocol_version": 1, member: fields})


def varints(data):
    """(value, where the next one begins) of each."""
    value = shift = 0
    for at, byte in enumerate(data):
        value |= (byte & 0x7F) << shift
        shift += 7
        if byte < 0x80:
            yield value, at + 1
            value = shift = 0


def number_of(value, kind):
    return value - (1 << 64) if kind == "int32" and value >> 63 else value


def decode(message, data):
    """Field name to value; what is absent has its default, but for a message within."""
    fields = SCHEMA[message]
    values = {name: [] if many else b"" if kind in BLOBS else 0
              for name, kind, many in fields.values() if many or kind not in SCHEMA}
    while data:
        key, at = next(varints(data))
        name, kind, many = fields[key >> 3]
        value, size = next(varints(data[at:]))
        data = data[at + size :]
        if key & 7 == 2:
            blob, data = data[:value], data[value:]
            if kind in SCHEMA:
                value = [decode(kind, blob)] if many else decode(kind, blob)
            else:
                value = [number_of(v, kind) for v, _ in varints(blob)] if many else blob
        else:
            value = number_of(value, kind)
        values[name] = values[name] + value if many else value
    return values


class Tail:
    """The lines that a file has got since the last look."""

    def __init__(self, path):
        self.file = open(path, "rb")
        self.rest = b""

    def lines(self):
        *lines, self.rest = (self.rest + self.file.read()).split(b"\n")
        return lines


class Response:
    """One frame that left a controller."""

    def __init__(self, time, connection, payload):
        self.time = time  # ms since 1970
        self.connection = connection  # changes when the port is opened, closed, plugged or gone
        self.payload = payload

    @functools.cached_property
    def answer(self):
        """Member and message; the virtual controller's garbage begins with a 7, as no message."""
        if self.payload[0] == 7:
            return "garbage", None
        values = decode("Response", self.payload)
        del values["protocol_version"], values["bootloader_value"]
        return values.popitem()


class Line:
    """What went over the line of one controller, frame by frame."""

    def __init__(self):
        self.commands = []  # payloads
        self.responses = []
        self.connection = 0
        self.partial = {"in": b"", "out": b""}

    def add(self, time, what, data):
        if what not in self.partial:
            self.connection += 1
            self.partial = {"in": b"", "out": b""}
            return
        data = self.partial[what] + data
        while len(data) >= 4 and len(data) >= (end := 4 + struct.unpack_from("<I", data)[0]):
            if what == "in":
                self.commands.append(data[4:end])
            else:
                self.responses.append(Response(time, self.connection, data[4:end]))
            data = data[end:]
        self.partial[what] = data

    def sizes(self):
        return [len(response.payload) for response in self.responses]

    def answers(self, member):
        """The messages of one kind, in order."""
        answers = (response.answer for response in self.responses)
        return [message for kind, message in answers if kind == member]


class Trace:
    """Follows what virtual-xcu writes with --trace."""

    def __init__(self, path):
        self.tail = Tail(path)
        self.lines = {}
        self.told = 0  # line commands that have been carried out

    def of(self, who):
        for line in self.tail.lines():
            time, name, what, *data = line.decode().split(" ", 3)
            if what == "told":
                self.told += 1
            else:
                known = self.lines.setdefault(name, Line())
                known.add(int(time), what, bytes.fromhex("".join(data)))
        return self.lines.setdefault(who, Line())
