# SPDX-License-Identifier: GPL-3.0-or-later
"""Logs and black-box records as tables of pandas, for xcu_files.to_pandas."""
import csv
import io
import os
import re

import numpy
import pandas

import xcu_files

BLOCK = 1 << 21  # bytes that the parser gets at a time: it takes several times as much memory
LINE = 1 << 20  # bytes; behind that the rest of a line is passed over, which is none of a log then
PLAIN = b"-;0123456789\n"  # the parser takes blanks, "+" and zero bytes for parts of numbers, too
TAG = re.compile(rb"\$;-?\d+;[^\n\0]*\n")
ROUND = 2**32  # ms


def rest_of_line(file):
    line = piece = file.readline(LINE)
    while len(piece) == LINE and not piece.endswith(b"\n"):
        piece = file.readline(LINE)
    return line if line is piece else line + b"\0\n"


class Records:
    """Gathers the records of a file as arrays."""

    def __init__(self):
        self.names, self.tags, self.odd = [], [], xcu_files.Oddities()
        self.parts = []  # lines, times and widths of records
        self.count = 0
        self.values = numpy.zeros((0, 0), "int32")  # by channel and record; with room for more records
        self.missing = numpy.zeros((0, 0), bool)
        self.share = 1  # of the file that has been read

    def read_log(self, path):
        numpy.empty(31 << 20, "uint8")  # from now on the C library keeps what is freed: half the time
        line = 1
        with open(path, "rb") as file:
            size = os.fstat(file.fileno()).st_size
            block = rest_of_line(file)  # the header
            while block:
                self.share = min(1, file.tell() / max(1, size))
                block = block.replace(b"\r\n", b"\n")
                line += self.add_plain(block, line) or self.add_lines(block, line)
                block = file.read(BLOCK) + rest_of_line(file)

    def read_blackbox(self, path):
        records = xcu_files.read_rbx(path).records
        inputs = max((len(record.inputs) for record in records), default=0)
        outputs = max((len(record.outputs) for record in records), default=0)
        self.names = [*(f"In{i}" for i in range(inputs)), *(f"Out{i}" for i in range(outputs))]
        rows = []
        for record in records:
            values = [*record.inputs, *[None] * (inputs - len(record.inputs)), *record.outputs]
            values += [None] * (len(self.names) - len(values))
            rows.append(xcu_files.Record(0, record.ms, values))
        self.add_records([0] * len(rows), rows)

    def add_plain(self, block, line):
        """Adds a block of tags and faultless records of one width; 0 if it has something else."""
        octets = numpy.frombuffer(block, "uint8")
        ends = numpy.flatnonzero(octets == ord("\n"))
        tags = list(TAG.finditer(block))
        tag_rows = numpy.searchsorted(ends, [tag.start() for tag in tags])
        rows = numpy.delete(numpy.arange(len(ends)), tag_rows)
        texts = b"".join(tag.group() for tag in tags)
        others = len(block.translate(None, PLAIN)) - len(texts.translate(None, PLAIN))
        if others or len(rows) == 0 or not block.endswith(b"\n") or (octets[ends[rows] - 1] != ord(";")).any():
            return 0
        fields = (numpy.count_nonzero(octets == ord(";")) - texts.count(b";")) / len(rows)
        if fields < 2 or fields % 1:
            return 0
        try:
            table = pandas.read_csv(
                io.BytesIO(block), sep=";", header=None, usecols=range(int(fields)), comment="$",
                dtype="int64", na_filter=False, quoting=csv.QUOTE_NONE, low_memory=False)
        except (ValueError, OverflowError):
            return 0
        if len(table) != len(rows) or (table.dtypes != "int64").any():
            return 0
        numbers = table.to_numpy().T
        values = numbers[2:].astype("int32")  # cuts what does not fit
        if (values != numbers[2:]).any() or (numbers[:2] >> 32).any():
            return 0
        for row, tag in zip(tag_rows, tags):
            self.add_lines(tag.group(), line + row)
        self.add(rows + line, numbers[1], numpy.full(len(rows), len(values)), values, False)
        return len(ends)

    def add_lines(self, block, line):
        lines, records = [], []
        for at, found in xcu_files.parse_log(io.BytesIO(block), self.odd, line):
            if isinstance(found, xcu_files.Record):
                lines.append(at)
                records.append(found)
            elif isinstance(found, xcu_files.Tag):
                self.tags.append((at, found))
            else:
                self.names = found
        self.add_records(lines, records)
        return block.count(b"\n")

    def add_records(self, lines, records):
        widths = [len(record.values) for record in records]
        values = numpy.full((len(records), max(widths, default=0)), numpy.nan)
        for row, record in zip(values, records):
            row[: len(record.values)] = record.values  # None becomes NaN
        values = values.T
        missing = numpy.isnan(values)
        self.add(lines, [record.ms for record in records], widths, numpy.where(missing, 0, values), missing)

    def add(self, lines, times, widths, values, missing):
        rows = slice(self.count, self.count + len(lines))
        if len(values) > len(self.values) or rows.stop > self.values.shape[1]:
            self.make_room(max(len(values), len(self.values)), rows.stop)
        self.values[: len(values), rows] = values
        self.missing[: len(values), rows] = missing
        self.missing[len(values) :, rows] = True
        self.parts.append(numpy.array([lines, times, widths], "int64"))
        self.count = rows.stop

    def make_room(self, width, count):
        """For so many channels, and for what will come if the rest of the file is as what was read."""
        room = (width, int(1.02 * count / self.share))
        old_values, old_missing = self.values[:, : self.count], self.missing[:, : self.count]
        self.values, self.missing = numpy.zeros(room, "int32"), numpy.zeros(room, bool)
        self.values[: len(old_values), : self.count] = old_values
        self.missing[: len(old_values), : self.count] = old_missing
        self.missing[len(old_values) :, : self.count] = True

    def table(self):
        lines, times, widths = numpy.concatenate([numpy.empty((3, 0), "int64"), *self.parts], 1)
        self.find_oddities(lines, times, widths)
        values, missing = self.values[:, : self.count], self.missing[:, : self.count]
        names = xcu_files.column_names(self.names, len(values))
        table = pandas.DataFrame(
            {name: pandas.arrays.IntegerArray(column, gone) if gone.any() else column
             for name, column, gone in zip(names, values, missing)}, index=range(self.count), copy=False)
        texts, own = self.place_tags(lines, times)
        if own:
            places = numpy.append(table.index, [place for place, _, _ in own])
            order = numpy.argsort(places, kind="stable")
            table = table.astype("Int32").reindex(places[order])
            times = numpy.append(times, [ms for _, ms, _ in own])[order]
            texts = [(texts + [text for _, _, text in own])[row] for row in order]
        table["tag"] = pandas.Series(texts, table.index, dtype=object)
        table.index = pandas.to_timedelta(times, unit="ms").rename("time")
        return table

    def find_oddities(self, lines, times, widths):
        steps = numpy.diff(times)
        wraps = steps < -ROUND // 2
        for what, where in [
            ("the clock has wrapped round at 2^32 ms; times start anew", wraps),
            ("the clock goes back; times are those of the file", (steps < 0) & ~wraps),
            ("another number of values than in the record before", numpy.diff(widths) != 0),
        ]:
            for line in lines[1:][where]:
                self.odd.add(what, line)

    def place_tags(self, lines, times):
        """The text of each record's tags, and (place, ms, text) of what has a row of its own."""
        texts, own = [None] * len(times), []
        rows = numpy.searchsorted(lines, [line for line, _ in self.tags]) - 1
        for row, (_, tag) in zip(rows, self.tags):
            ms = None if tag.ms == -1 else tag.ms % ROUND
            if row >= 0 and tag.ms != -1 and ms != times[row]:
                row = row + 1 if ms in times[row + 1 : row + 2] else row + 0.5
            elif len(times) == 0:
                row = 0.5
            if row % 1:
                own.append((row, ms, tag.text))
            else:
                row = max(row, 0)
                texts[row] = tag.text if texts[row] is None else f"{texts[row]}; {tag.text}"
        return texts, own


def read(path):
    records = Records()
    if str(path).lower().endswith(".rbx"):
        records.read_blackbox(path)
    else:
        records.read_log(path)
    if not (records.names or records.count or records.tags):
        raise ValueError(f"{path}: has no record of a log")
    table = records.table()
    records.odd.warn(path)
    return table
