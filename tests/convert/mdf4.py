# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads the .mf4 files of xcu-convert, block by block, and holds them against the standard."""
import math
import struct
import zlib


class Mdf4:
    """`groups` has for each its name, and by the channels' names values, units, comments and texts."""

    def __init__(self, path):
        self.bytes = path.read_bytes()
        assert self.bytes[:16] == b"MDF     4.10    " and self.bytes[60:64] == bytes(4)
        self.ends = {}  # of blocks, by their places
        (group, history, _, _, event, comment), head = self.block(64, b"HD")
        self.start, self.zone, self.daylight = struct.unpack_from("<Qhh", head)
        self.comment = self.text(comment)
        self.block(history, b"FH")
        self.events = [(round(math.prod(struct.unpack_from("<qd", data, 16)), 9), self.text(links[3]))
                       for links, data in self.chain(event, b"EV")]
        self.groups = [self.group(links) for links, _ in self.chain(group, b"DG")]
        places = sorted(self.ends)
        assert all(self.ends[a] <= b for a, b in zip(places, places[1:])), "blocks overlap"

    def block(self, at, kind):
        name, zero, length, count = struct.unpack_from("<4sIQQ", self.bytes, at)
        assert at % 8 == 0 and name == b"##" + kind and zero == 0 and at + length <= len(self.bytes), (at, name)
        self.ends[at] = at + length
        return struct.unpack_from(f"<{count}Q", self.bytes, at + 24), self.bytes[at + 24 + 8 * count : at + length]

    def chain(self, at, kind):
        while at:
            links, data = self.block(at, kind)
            yield links, data
            at = links[0]

    def text(self, at):
        if at == 0:
            return ""
        data = self.block(at, self.bytes[at + 2 : at + 4])[1]
        assert len(data) % 8 == 0 and data.endswith(b"\0")
        return data.rstrip(b"\0").decode()

    def rows(self, at, width):
        if at == 0:
            return b""
        (at,), _ = self.block(at, b"HL")
        (_, *blocks), (*_, equal) = self.block(at, b"DL")[0], struct.unpack("<BBHIQ", self.block(at, b"DL")[1])
        rows = b""
        for place in blocks:
            _, data = self.block(place, b"DZ")
            kind, zipped, _, record, size, packed = struct.unpack_from("<2sBBIQQ", data)
            assert (kind, zipped, record, packed) == (b"DT", 1, width, len(data) - 24) and size <= 4 << 20
            assert size == equal or place == blocks[-1]
            planes, count = zlib.decompress(data[24:]), size // width
            rows += b"".join(planes[i::count] for i in range(count))
        return rows

    def group(self, links):
        (_, channel, name, source, _, _), data = self.block(links[1], b"CG")
        _, count, _, _, _, width, gaps = struct.unpack("<QQHHIII", data)
        rows = self.rows(links[2], width + gaps)
        assert len(rows) == count * (width + gaps)
        self.block(source, b"SI")
        group = {"name": self.text(name), "values": {}, "units": {}, "comments": {}, "texts": {}}
        self.add_channels(group, channel, [rows[i : i + width + gaps] for i in range(0, len(rows), width + gaps)], width)
        return group

    def add_channels(self, group, first, rows, width):
        for links, data in self.chain(first, b"CN"):
            kind, sync, form, _, offset, bits, flags, gap = struct.unpack_from("<BBBBIIII", data)
            assert (kind, sync) == ((2, 1) if offset == 0 else (0, 0)) and offset + bits // 8 <= width
            name, raw = self.text(links[2]), [row[offset : offset + bits // 8] for row in rows]
            form = {0: "BBHIIQQQQ"[bits // 8], 2: "bbhiiqqqq"[bits // 8], 4: "d"}.get(form) if bits <= 64 else None
            values = [struct.unpack("<" + form, value)[0] if form else value for value in raw]
            if flags & 2:
                values = [None if row[width + gap // 8] >> gap % 8 & 1 else v for row, v in zip(rows, values)]
            group["values"][name] = values
            group["units"][name], group["comments"][name] = self.text(links[6]), self.text(links[7])
            if links[4]:
                refs, numbers = self.block(links[4], b"CC")
                keys = struct.unpack_from(f"<{len(refs) - 5}d", numbers, 24)
                group["texts"][name] = dict(zip(keys, map(self.text, refs[4:-1])))
            if links[1]:
                self.add_channels(group, links[1], rows, width)
