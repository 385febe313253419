# SPDX-License-Identifier: GPL-3.0-or-later
"""What went over the link, by the traces of virtual-xcu. The frames are read by code of its own, so
that a third party checks those of console and simulator."""
import functools
import pathlib
import struct
import subprocess
import sys
import tempfile


def load_schema(name):
    """The module generated from a file of schema/, named without its ending."""
    folder = pathlib.Path(__file__).resolve().parents[2] / "schema"
    with tempfile.TemporaryDirectory() as made:
        command = ["protoc", f"-I{folder}", f"--python_out={made}", f"{name}.proto"]
        subprocess.run(command, check=True)
        sys.path.insert(0, made)
        module = __import__(f"{name}_pb2")
        sys.path.remove(made)
    return module


link = load_schema("link")


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
        response = link.Response.FromString(self.payload)
        member = response.WhichOneof("resp")
        return member, getattr(response, member)


class Line:
    """What left one controller, frame by frame."""

    def __init__(self):
        self.responses = []
        self.connection = 0
        self.partial = b""

    def add(self, time, what, data):
        if what not in ("in", "out"):
            self.connection += 1
            self.partial = b""
        elif what == "out":
            data = self.partial + data
            while len(data) >= 4 and len(data) >= (end := 4 + struct.unpack_from("<I", data)[0]):
                self.responses.append(Response(time, self.connection, data[4:end]))
                data = data[end:]
            self.partial = data

    def sizes(self):
        return [len(response.payload) for response in self.responses]

    def sizes_since_opened(self):
        return [len(one.payload) for one in self.responses if one.connection == self.connection]

    def answers(self, member):
        """The messages of one kind, in order."""
        answers = (response.answer for response in self.responses)
        return [message for kind, message in answers if kind == member]


class Trace:
    """Follows what virtual-xcu writes with --trace."""

    def __init__(self, path):
        self.tail = Tail(path)
        self.lines = {}
        self.commands = 0  # line commands that have been carried out

    def of(self, who):
        for line in self.tail.lines():
            time, name, what, *data = line.decode().split(" ", 3)
            if what == "command":
                self.commands += 1
            else:
                known = self.lines.setdefault(name, Line())
                known.add(int(time), what, bytes.fromhex("".join(data)))
        return self.lines.setdefault(who, Line())
