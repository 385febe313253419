#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads what xcu-convert writes with the tools that it is for: tst_convert.py BUILD"""
import csv
import io
import itertools
import os
import pathlib
import random
import re
import resource
import signal
import subprocess
import sys
import tempfile
import unittest
import unittest.mock as mock
import warnings

import can
import canmatrix.formats
import h5py
import pandas

from mdf4 import Mdf4

BUILD = pathlib.Path(sys.argv.pop()).resolve()
SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
DATA = SOURCE / "tests" / "data"
sys.path.insert(0, str(SOURCE / "python"))
sys.dont_write_bytecode = True
import xcu_files  # noqa: E402
import xcu_pandas  # noqa: E402

CONVERT = BUILD / "bin" / "xcu-convert"
HEADER = "#;timestamp;" + "".join(f"{name};" for name in ["A", "x", "A", "Speed [km/h] (CAN1)", "a,\"b"])


def frames_of(reader):
    """(time, bus, id, extended, fd, brs, remote, length, data) of each frame, by python-can."""
    return [
        (round(m.timestamp, 6), int(str(m.channel).lstrip("can")), m.arbitration_id, m.is_extended_id, m.is_fd,
         m.bitrate_switch, m.is_remote_frame, m.dlc, bytes(m.data)) for m in reader]


class Folder(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory(prefix="convert-")
        self.addCleanup(holder.cleanup)
        self.folder = pathlib.Path(holder.name)

    def write(self, name, content):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path

    def run_program(self, *command, code=0, **more):
        surroundings = dict(os.environ, **more.pop("environment", {}))
        done = subprocess.run(command, cwd=self.folder, capture_output=True, timeout=60, env=surroundings, **more)
        self.said = done.stderr.decode()
        self.assertEqual(done.returncode, code, self.said)
        return done.stdout.decode()

    def run_convert(self, *arguments, **more):
        return self.run_program(CONVERT, *arguments, **more)

    def candump(self, *arguments):
        return self.run_convert(*arguments, "--to", "candump", "-o", "-")

    def rows(self, *arguments, **more):
        text = self.run_convert(*arguments, "--to", "csv", "-o", "-", **more)
        return list(csv.reader(io.StringIO(text, newline=""), strict=True))

    def mdf4(self, *arguments, **more):
        """The groups by their names, a list of each, and the file."""
        self.run_convert(*arguments, "--force", "-o", "a.mf4", **more)
        file, groups = Mdf4(self.folder / "a.mf4"), {}
        for group in file.groups:
            groups.setdefault(group["name"], []).append(group)
        return groups, file

    def read(self, path, reader=xcu_files.to_pandas):
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            result = reader(path)
        self.warned = [str(warning.message).replace(f"{self.folder}/", "") for warning in caught]
        return result

    def assertLeaves(self, *names):
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), sorted(names))


class Logs(Folder):
    def table(self, *lines, end="\n"):
        path = self.write("a.log", "\n".join([HEADER, *lines]) + end)
        return [",".join(row) for row in self.rows(path)]

    def test_tags(self):
        rows = self.table(
            "$;-1;early", "1;10;1;", "$;10;Hard; \"so\"", "$;10;again", "$;20;ahead", "2;20;2;",
            "$;7;from before", "3;30;3;", "4;4294967295;4;", "$;-1;now known", "$;5;last")
        self.assertEqual(
            rows[1:],
            [",,early", '0.010,1,Hard; "so"; again', "0.020,2,ahead", "0.007,,from before",
             "0.030,3,", "4294967.295,4,now known", "0.005,,last"])

    def test_oddities(self):
        table = [
            (["1;1;1;", "2;2;2;3;", "3;3;4;"], ["0.001,1,,", "0.002,2,3,", "0.003,4,,"],
             "a.log:3: another number of values than in the record before (2 in all)"),
            (["1;4294967290;1;", "2;4;2;"], ["4294967.290,1,", "0.004,2,"], "a.log:3: the clock has wrapped"),
            (["1;50;1;", "0;0;2;"], ["0.050,1,", "0.000,2,"], "a.log:3: the clock goes back"),
            (["1;1;5-3;1;", "2;2;-;99999999999;"], ["0.001,,1,", "0.002,,,"], "a.log:2: a value that is no number of 32"),
            (["1;1;-2147483648;2147483648;0123456789;"], ["0.001,-2147483648,,0123456789,"], "a.log:2: a value that is no"),
            (["1;1;1;", "x", "2;y;1;", "3;3;1\0;", "4;4;\0;"], ["0.001,1,"], "a.log:3: not a record, left out (4 in all)"),
            (["1;1;1;\r", HEADER.replace("A", "B")], ["0.001,1,"], "a.log:3: another header"),
            (["1;1;1;", "2;2;1;"], ["0.001,1,"], "a.log:3: torn line, left out"),
            (["1;1;1;", "$;1;half a"], ["0.001,1,half a"], "a.log:3: torn line"),
        ]
        for lines, rows, message in table:
            with self.subTest(message):
                self.assertEqual(self.table(*lines, end="" if "torn" in message else "\n")[1:], rows)
                self.assertIn(message, self.said)
                self.assertEqual(self.said.count("\n"), 1)

    def test_many_records(self):
        """Across blocks, and against Python's reading of the lines."""
        rand = random.Random(1)
        records = [
            [n, 10 * n, *(rand.choice([0, -1, 2**31 - 1, -2**31, rand.randrange(4096)]) for _ in range(128))]
            for n in range(3000)
        ]
        text = HEADER + "\n" + "".join(";".join(map(str, r)) + ";\n" for r in records)
        expected = [[f"{r[1] / 1000:.3f}", *map(str, r[2:]), ""] for r in records]
        self.assertEqual(self.rows(self.write("a.log", text))[1:], expected)
        self.assertEqual(self.rows("-", "--from", "log", input=text.encode())[1:], expected)

    def test_hdf5(self):
        self.write("a.log", "\n".join([HEADER, "1;10;1;2;3;4;", "$;10;Grün", "2;20;5;99999999999;", ""]))
        self.run_convert("a.log", "-o", "a.h5")
        with h5py.File(self.folder / "a.h5") as file:
            self.assertEqual(
                {name: str(channel[:].tolist()) for name, channel in file["channels"].items()},
                {"A": "[1, 5]", "channel 1": "[2.0, nan]", "A (channel 2)": "[3.0, nan]", "Speed [km|h] (CAN1)": "[4.0, nan]"})
            self.assertEqual(file["channels/A"].dtype, "int32")
            self.assertEqual(
                dict(file["channels/Speed [km|h] (CAN1)"].attrs),
                {"name": "Speed [km/h] (CAN1)", "unit": "km/h", "channel": 3})
            self.assertEqual(file["time_s"][:].tolist(), [0.01, 0.02])
            self.assertEqual(file["tags"][:].tolist(), [(0.01, "Grün".encode())])
        self.write("b.log", "#;timestamp;a/b;a|b;.;\n1;1;1;2;3;\n")
        self.run_convert("b.log", "-o", "b.h5")
        with h5py.File(self.folder / "b.h5") as file:
            self.assertEqual(set(file["channels"]), {"a|b", "a|b (column 2)", ". (column 3)"})

    def test_mdf4(self):
        """Of every kind of log that a drive may leave, against the same as CSV."""
        table = {
            "torn": ["1;10;1;2;3;4;", "$;10;Now & <then>", "2;20;1;2;3;4;", "3;30;1;2"],
            "wrapped": ["1;4294967290;1;2;", "$;-6;before", "2;4;3;4;", "$;4;behind", "3;14;5;6;"],
            "restarted": ["1;5000;1;2;", "2;5010;2;2;", "3;0;3;4;", "4;1;5;6;", "5;0;7;8;"],
            "widths": ["1;10;1;2;3;4;5;6;", "2;20;", "3;30;x;-7;99999999999;4;", "4;40;1;"],
            "empty": [], "tags": ["$;-1;one", "$;-1;Grün"],
            "many tags": [line for n in range(10000) for line in [f"{n};{n};{n};", f"$;{n};Tag {n}"]],
        }
        for name, lines in table.items():
            with self.subTest(name):
                path = self.write("a.log", "\n".join([HEADER, *lines]) + ("" if name == "torn" else "\n"))
                groups, file = self.mdf4(path)
                head, *rows = self.rows(path)
                got = [[float(row[0]), *(int(value) if value else None for value in row[1:-1])]
                       for row in rows if any(row[1:-1]) or row[0] == "0.020"]
                tags = [(float(row[0] or 0), row[-1]) for row in rows if row[-1]]
                logs = groups.get("channels", [])
                read = [list(record) for group in logs for record in zip(*group["values"].values())]
                self.assertEqual(read, got)
                self.assertEqual(len(logs), sum(a[0] > b[0] for a, b in zip([[9e9], *got], got)))
                for group in logs:
                    self.assertEqual(list(group["values"])[1:], head[1:-1])
                    self.assertEqual(group["comments"]["A"], "channel 0")
                self.assertEqual(file.events, tags)
                texts = [t for group in groups.get("tags", []) for t in group["values"]["tag"]]
                self.assertEqual([text.rstrip(b"\0").decode() for text in texts], [text for _, text in tags])
                self.assertTrue(all(len(row) == len(head) for row in rows))

    def test_where_it_comes_from(self):
        folder = self.folder / "XCU0001" / "extLoggerLogs"
        folder.mkdir(parents=True)
        log = self.write(folder / "2026.11.15-053000.log", HEADER + "\n1;90000;1;2;3;4;\n2;95000;1;2;3;4;\n")
        groups, file = self.mdf4(log, "--start", "92", environment={"TZ": "CET-1"})
        # Times are the controller's: the file begins where its clock stood at 0, whatever is taken of it.
        self.assertEqual((file.start, file.zone, file.daylight), ((1794717000 - 90) * 10**9, 60, 0))
        self.assertIn("XCU0001", file.comment)
        self.assertIn("2026-11-15T05:30:00", file.comment)
        self.assertEqual(groups["channels"][0]["units"]["Speed [km/h] (CAN1)"], "km/h")
        self.run_convert(log, "-o", "a.h5")
        with h5py.File(self.folder / "a.h5") as h5:
            self.assertEqual((h5.attrs["serial"], h5.attrs["date"]), ("XCU0001", "2026-11-15T05:30:00"))
            self.assertIn("xcu-convert", h5.attrs["version"])

    def test_selection(self):
        path = self.write("a.log", "\n".join([HEADER, *(f"{n};{n}000;{n};0;-{n};9;" for n in range(1, 9)), "$;3000;T", ""]))
        text = self.run_convert(path, "--only", "A*", "--only", "none", "--start", "2", "--end", "7", "--every", "2",
                                "--to", "csv", "-o", "-")
        self.assertEqual(text.split(), ["time_s,A,A", "(channel", "2),tag", "2.000,2,-2,", "4.000,4,-4,", "6.000,6,-6,",
                                        "3.000,,,T"])
        groups, _ = self.mdf4(path, "--only", "Speed*", "--every", "3")
        self.assertEqual(groups["channels"][0]["values"], {"time": [1, 4, 7], "Speed [km/h] (CAN1)": [9, 9, 9]})
        for name in ["b.csv", "b.mf4"]:
            self.run_convert(path, "--only", "none", "-o", name, code=1)
            self.assertIn("that --only takes", self.said)
        self.run_convert(path, "--start", "9", "-o", "b.mf4")
        self.assertIn("has nothing that --start, --end and --bus take", self.said)
        self.write("a.candump", "(1) can0 1#01\n(2) can1 2#02\n(3) can1 3#03\n")
        self.assertEqual(self.candump("a.candump", "--bus", "1", "--end", "2.5"), "(2.000000) can1 002#02\n")

    def test_bytes_that_are_not_utf8(self):
        path = self.write("a.log", b"#;timestamp;Gr\xfcn;\n1;1;1;\n$;1;\xe9\n")
        self.assertEqual(self.rows(path), [["time_s", "Gr\ufffdn", "tag"], ["0.001", "1", "\ufffd"]])
        self.assertIn("a.log:1: bytes that are not UTF-8, replaced (2 in all)", self.said)
        self.write("set.csv", b"0x1;0;8;1;0;1;0;0;0x0;-1;\xd6l\n")
        self.write("a.candump", "(1) can0 001#02\n")
        self.assertEqual(self.rows("a.candump", "--signals", "set.csv"), [["time_s", "\ufffdl"], ["1.000000", "2"]])
        self.assertIn("set.csv:1: \ufffdl: bytes in its name", self.said)

    def test_more_rows_than_a_sheet(self):
        for rows, message in [(1048575, ""), (1048576, "more rows than the 1,048,576 of a spreadsheet")]:
            self.run_convert(self.write("a.log", "#;t;A;\n" + "1;1;1;\n" * rows), "-o", "a.csv", "--force")
            self.assertEqual(bool(message), message in self.said and self.said != "")

    def test_endless_line(self):
        """Costs no memory, and is no record."""
        with open(self.folder / "a.log", "w") as file:
            file.write(HEADER + "\n1;1;1;\n2;2;")
            for _ in range(220):
                file.write("5;" * (1 << 19))
            file.write("\n3;3;3;\n")

        def limit():
            if not re.search(b"__[at]san_init", CONVERT.read_bytes()):  # which reserves terabytes
                resource.setrlimit(resource.RLIMIT_AS, (200 << 20, 200 << 20))

        self.assertEqual([row[0] for row in self.rows("a.log", preexec_fn=limit)], ["time_s", "0.001", "0.003"])
        self.assertIn("a.log:3: a line of 1 MiB or more", self.said)
        self.write("a.log", f"{HEADER}\n1;1;1;\n2;2;{'55;' * 1300000}\n3;3;3;\nx\n")
        self.assertEqual(self.read(self.folder / "a.log").iloc[:, 0].tolist(), [1, 3])
        self.assertIn("a.log:3: not a record, left out (2 in all)", self.warned[0])

    def test_info(self):
        self.write("a.log", "\n".join([HEADER, "1;10;1;2;3;4;", "2;20;1;2;3;4;", "7;30;1;2;3;4;", "$;30;Now", ""]))
        self.write("b.candump", "(1.5) can1 123#01\n(2.5) can1 123#0102\n(2.5) can0 00000123##1aa\n")
        self.write("c.xcu", bytes.fromhex("0d000000 0a0b 0a034f696c 1005 1800 2003"))
        text = self.run_convert("--info", "a.log", "b.candump", "c.xcu")
        for told in [
            "records   3, numbers 1 to 7, 4 missing in 1 gap\n    0.020 s to 0.030 s, 4 missing\n",
            "0.010 s to 0.030 s, 0.020 s", "0  A\n", "0.030 s Now", "can1  123  2 frames, up to 2 bytes, every 1.000 s\n",
            "can0  00000123  1 frame, up to 1 byte, FD\n", "5  Oil (ADC3)\n", "buses     can0, can1\n",
            "3  Speed [km/h] (CAN1), in km/h\n",
        ]:
            self.assertIn(told, text)


class Traces(Folder):
    BUSES = ["can0", "can1", "can2", "can3"]
    BUS = (
        "(0.250001) can0 123#0102aa\n(1.500000) can1 18daf110#\n(2.000000) can2 00000123#ff\n"
        "(3.000000) can1 123##1aabb\n(3.000001) can1 123##0aabbcc\n(3.5) can0 7ff##3\n"
        f"(3.600000) can3 1fffffff##1{'5a' * 64}\n(4.000000) can1 7ff#R\n(4.25) can0 00000001#R4\n"
    )

    def test_peers_read_what_is_written(self):
        path = self.write("bus.candump", self.BUS)
        expected = frames_of(can.CanutilsLogReader(path))
        self.run_convert("bus.candump", "-o", "bus.asc")
        # An FD frame without data is a remote one to python-can's reader of this format.
        without = [f for f in expected if f[7] > 0 or not f[4]]
        ours = [f for f in frames_of(can.ASCReader(self.folder / "bus.asc")) if not (f[4] and f[6])]
        self.assertEqual(ours, without)
        self.run_convert("bus.asc", "-o", "again.candump")
        self.assertEqual(frames_of(can.CanutilsLogReader(self.folder / "again.candump")), expected)
        for command in [["log2asc", "-I", "again.candump", *self.BUSES], ["asc2log", "-I", "bus.asc"]]:
            lines = self.run_program(*command).splitlines()
            frames = [line for line in lines if "can" in line.lower() or " d " in line or " r" in line]
            self.assertEqual(len(frames), len(expected), command)
        self.run_convert("bus.candump", "-o", "bus.csv")
        self.assertEqual(self.candump("bus.csv"), self.candump("bus.candump").replace("##3", "##1"))

    def test_asc_of_the_peers(self):
        path = self.write("bus.candump", self.BUS)
        self.run_program("log2asc", "-I", path, "-O", "peer.asc", *self.BUSES)
        with can.ASCWriter(self.folder / "python.asc") as writer:
            for message in can.CanutilsLogReader(path):
                message.channel = int(message.channel[3:])
                writer.on_message_received(message)
        expected = frames_of(can.CanutilsLogReader(path))
        for name in ["peer.asc", "python.asc"]:
            ours = frames_of(can.CanutilsLogReader(io.StringIO(self.candump(name))))
            # What the peers do not write: times since 1970, the length of a remote frame, data of a frame without any.
            for place in [slice(1, 6), -1]:
                self.assertEqual([f[place] for f in ours], [f[place] for f in expected], name)

    def test_every_reader(self):
        drive = ["(12.345000) can{} 123#0102aa", "(12.355000) can{} 7ff#1122334455667788",
                 "(12.370000) can{} 00a#", "(13.845000) can{} 123#0302aa", "(14.345000) can{} 456#ff"]
        for kind, bus in [("candump", 1), ("trc", 0), ("csv", 0), ("trace", 1), ("txt", 0), ("rbx", 2)]:
            lines = self.candump(DATA / f"drive.{kind}").splitlines()
            origin = {"txt": 36000, "rbx": -7.345}.get(kind, 0)
            expected = [line.format(bus) for line in drive]
            for line, told in zip(lines, expected, strict=True):
                self.assertAlmostEqual(float(line[1:line.index(")")]), float(told[1:10]) + origin, 6)
                self.assertEqual(line.split(" ", 1)[1], told.split(" ", 1)[1])
            self.assertEqual("without a bus" in self.said, bus == 0)
        self.assertEqual([row[8] for row in self.rows(DATA / "drive.rbx", "--frames")[1:3]], ["x0102aa", "x1122334455667788"])

    def test_what_a_format_cannot_say(self):
        self.write("a.candump", "(1.0) can1 20000004#00\n(2.0) can1 123##301\n")
        self.assertEqual(self.rows("a.candump")[1][2], "0x20000004")
        self.assertIn("error state of a CAN FD frame", self.said)
        self.run_convert("a.candump", "-o", "a.asc")
        self.assertIn("class of an error frame", self.said)

    def test_oddities(self):
        columns = "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n"
        table = [
            ("a.candump", "(1) can1 123#01\n\n(2) can1 123#012\n(2) can1 xyz#\n(2) can1 4#R-1\n(3) can1 4#02\n",
             "(1.000000) can1 123#01|(3.000000) can1 004#02", "a.candump:3: not a frame, left out (3 in all)"),
            ("b.candump", "(1) can1 123#0102_B\n(1) can1 123#01x2\n(1) can1 123##\n(1) can1 123#01#02\n(1) can1 1_3#01\n"
             "1.0 can1 123#01\n(2) can1 123\n(2) can1 4#R44\n(3) can1 4#02\n",
             "(3.000000) can1 004#02", "b.candump:1: not a frame, left out (8 in all)"),
            ("d.candump", "(1) can1 123#01 02\n(1) can1 123#01 T 2\n(2) can1 123#01 T\n", "(2.000000) can1 123#01", "d.candump:1: not a"),
            ("b.asc", "base hex  timestamps absolute\n 1.0 1 123 Rx d zz 01\n 1.0 1 123 Rx 8 01 02\n 1.0 1 123 Rx r x\n"
             " 2.0 1 123 Rx r\n", "(2.000000) can0 123#R", "b.asc:2: not a frame, left out (3 in all)"),
            ("d.csv", columns + "R,1,1,1,,3,,,,,,,1\nR,2,1,1,2,3,,,,,,,1\n", "(2.000000) can0 001#010203", "d.csv:2: not a frame"),
            ("c.candump", "(1.0) can0 123 [3] 01 02 AA\n(2) can0 1#\n", "(2.000000) can0 001#", "c.candump:1: as candump shows"),
            ("b.txt", "00:00:01.000 -> C:id=16:n=2:01:Z2\n00:00:01.000 -> C:id=16:n=2:01:02x\n"
             "00:00:02.000 -> C:id=16:n=1:03\n", "(2.000000) can0 010#03", "b.txt:1: not a frame, left out (2 in all)"),
            ("b.trc", "1,5\tRx\t1\t1\t2\t01_2\r1,6\tRx\t1\t1\t1\t02\r", "(1.600000) can0 001#02", "b.trc:1: not a frame"),
            ("c.csv", "time_s,bus,id,extended,fd,brs,remote,length,data\r\n1,1,0x123,0,0,0,0,2,x01\r\n"
             "1,1,123,0,0,0,0,1,x01\r\n1,1,0x800,0,0,0,0,1,x01\r\n2,,0x00000123,1,1,1,0,1,xaa\r\n", "(2.000000) can0 00000123##1aa", "c.csv:2: not"),
            ("asc-1.candump", f"(1.0) can2  12#01\n(1.0) can2 12345#{'00' * 12}\n",
             f"(1.000000) can2 012#01|(1.000000) can2 00012345##0{'00' * 12}", "taken for CAN FD"),
            ("canbb-1.candump", "(0.005025) can2   a#\n", "(0.005025) can2 00a#", "thousands of seconds"),
            ("a.txt", "23:59:59.999 -> C:id=16:n=1:01\n00:00:00.000 -> C:id=2048:n=0:\n",
             "(86399.999000) can0 010#01|(86400.000000) can0 00000800#", "a.txt:2: midnight"),
            ("c.txt", "00:00:01.000 -> C:id=16:n=2:01\n", "(1.000000) can0 010#01", "c.txt:1: length that is not"),
            ("a.trc", "1,5\tRx\t1\t1\t2\t02\n", "(1.500000) can0 001#02", "length that is not"),
            ("a.csv", columns + "R,1!23,1,1,2,3,,,,,,,1\nR,1\n", "(1023.000000) can0 001#010203", "a.csv:3: not a frame"),
            ("a.asc", "base dec  timestamps relative\n 1.0 1  291 Rx d 1 255\n 1.0 2  Statistic: D 0\n"
             " 0.5 1 ErrorFrame\n 0.5 CANFD 1 Rx 5x Name 1 0 1  1 17\n",
             "(1.000000) can0 123#ff|(2.500000) can0 20000000#|(3.000000) can0 00000005##111", ""),
        ]
        for name, content, frames, message in table:
            with self.subTest(name):
                text = self.candump(self.write(name, content))
                self.assertEqual(text.rstrip().replace("\n", "|"), frames)
                self.assertIn(message, self.said)

    def test_signals(self):
        self.write("set.csv", "0x123;8;16;0.1;-40;1;0;0;0x0;-1;Oil;%12\r\n0x123;0;8;1;0;0;16;8;0xaa;-1;Mode\n"
                   "0x7ff;0;8;2;0;2;0;0;0;-1;\n0x1;512;8;1;0;1;0;0;0;-1;Outside\n")
        rows = self.rows(DATA / "drive.candump", "--signals", "set.csv")
        self.assertEqual(
            rows,
            [["time_s", "Oil", "Mode", "signal 3"], ["12.345000", "4312.2", "1", ""],
             ["12.355000", "", "", "34"], ["13.845000", "4312.2", "3", ""]])
        self.assertIn('set.csv:2: Mode: "Show" is 0, taken as 1', self.said)
        self.assertIn("set.csv:4: Outside: not within 64 bytes, left out", self.said)
        # Bits count from the payload's first byte, whatever the console does; each bus has its own columns.
        self.write("fd.candump", "(1) can0 7ff##155\n(2) can1 7ff#66\n(3) can1 000007ff#77\n")
        self.assertEqual(
            self.rows("fd.candump", "--signals", "set.csv"),
            [["time_s", "can0.0x7ff.signal 3", "can1.0x7ff.signal 3", "can1.0x000007ff.signal 3"],
             ["1.000000", "170", "", ""], ["2.000000", "", "204", ""], ["3.000000", "", "", "238"]])
        self.write("bad.csv", "0x123;0;48;1;0;1;0;0;0x0;-1;Wide\n0x123;0;32;1;0;1;0;0;0x0;-1;Unsigned\n"
                   "0x123;0;8;1;0;7;0;0;0x0;-1;Mode\n0x123;0;8;fast;0;1;0;0;0x0;-1;Factor\n"
                   "0x123;0;8;nan;0;1;0;0;0x0;-1;Nan\n0x123;0;8;0.1;0;1;0;0;0x0;-1;Good\n")
        self.assertEqual(self.rows(DATA / "drive.candump", "--signals", "bad.csv")[:2], [["time_s", "Good"], ["12.345000", "0.1"]])
        for line, name in enumerate(["Wide: 48 bits", "Unsigned: 32 bits", "Mode: \"Show\" 7", "Factor: a field", "Nan: a field"], 1):
            self.assertIn(f"bad.csv:{line}: {name}", self.said)


class Databases(Folder):
    DBC = DATA / "signals.dbc"

    def signals(self, *arguments, **more):
        return self.run_program("/usr/bin/python3", SOURCE / "python" / "xcu-signals", *arguments, **more)

    def test_right_to_the_value(self):
        """Decoded by the database and by a set made of it, against canmatrix; in CSV, HDF5 and MDF4."""
        self.signals(self.DBC, "-o", "set.csv")
        left_out = {"Engine.Float": "floating point", "Long.Unsigned32": "unsigned 32 bits", "Long.Wide": "33 bits",
                    "MultiWide.Crossed": "its multiplexer has the other byte order", "Real.Double": "floating point",
                    "Real.Nine": "57 bits", "Tree.Outer": "more than one multiplexer", "Tree.Inner": "more than one", "Tree.Branch": "more than one"}
        for name, why in left_out.items():
            self.assertIn(f"{name}: {why}", self.said)
        rand, lines, expected = random.Random(1), [], []
        frames = canmatrix.formats.loadp_flat(str(self.DBC)).frames
        for n in range(600):
            frame = rand.choice(frames)
            data = bytearray(rand.randbytes(frame.size))
            if frame.name in ("Multi", "Tree"):
                data[0] = rand.choice([1, 200, 3, 0x10, 0x50])
            if frame.name == "Engine":
                data[3] = rand.choice([0, 0x42, 0xc1])
            expected.append({name: float(signal.phys_value) for name, signal in frame.decode(bytes(data)).items()})
            can_id = f"{frame.arbitration_id.id:0{8 if frame.arbitration_id.extended else 3}x}"
            lines.append(f"({n}.0) can{n % 2 + 1} {can_id}#{'#1' if frame.size > 8 else ''}{data.hex()}\n")
        self.write("a.candump", "".join(lines))
        for which in ["set.csv", self.DBC]:
            (_, *head), *rows = self.rows("a.candump", "--signals", which)
            found = {float(row[0]): {c: float(text) for c, text in zip(head, row[1:]) if text} for row in rows}
            for n, (line, values) in enumerate(zip(lines, expected)):
                self.assertLessEqual({column.split(".")[0] for column in found.get(n, {})}, {line.split()[1]})
                got = {column.split(".")[-1]: value for column, value in found.get(n, {}).items()}
                missing = {key.split(".")[1] for key in left_out} if which == "set.csv" else set()
                self.assertLessEqual(set(values) - missing, set(got))
                self.assertLessEqual(set(got), set(values))
                for name, value in got.items():
                    self.assertAlmostEqual(value, values[name], delta=1e-9 + 1e-14 * abs(value), msg=name)
        groups, _ = self.mdf4("a.candump", "--signals", self.DBC)
        units = [group for name in groups if name.startswith("can1 Long") for group in groups[name]][0]["units"]
        self.assertEqual(units["can1.Long.Motorola"], "rpm")
        self.assertEqual(groups["can1 Multi"][0]["texts"], {"can1.Multi.Second": {0.0: "Off", -4.0: "Back <&> \"2\""}})
        self.run_convert("a.candump", "--signals", self.DBC, "-o", "a.h5")
        with h5py.File(self.folder / "a.h5") as file:
            for i, column in enumerate(head, 1):
                text = [(float(row[0]), row[i]) for row in rows if row[i]]
                kept = file["signals"][column]
                pairs = [(t, v) for t, v in zip(kept["time_s"][:], kept["value"][:]) if v == v or "Float" in column]
                values = [(t, v) for name in groups for group in groups[name] if column in group["values"]
                          for t, v in zip(group["values"]["time"], group["values"][column]) if v is not None]
                self.assertEqual([t for t, _ in values], [t for t, _ in text])
                self.assertEqual([repr(v) for _, v in values], [repr(float(v)) for _, v in pairs])
                for (_, value), (_, shown) in zip(values, text):
                    self.assertTrue(shown == f"{value:.15g}" or abs(value) >= 1e15 and float(shown) == value, shown)
        self.assertEqual(len(groups["CAN_DataFrame"][0]["values"]["time"]), 600)
        self.mdf4(self.write("a.log", HEADER + "\n1;1;1;\n"), "a.candump", "--signals", self.DBC)
        self.assertIn("a.candump: Nine: values of more than 53 bits are rounded", self.said)
        groups, _ = self.mdf4(self.write("b.candump", "(1) can300 1#\n(2) can70000 1#\n(3) can0 1#\n"))
        self.assertEqual(groups["CAN_DataFrame"][0]["values"]["CAN_DataFrame.BusChannel"], [301, 70001, 1])

    def test_tables_and_sets(self):
        self.signals(self.DBC, "--table", "-o", "car.signals")
        self.write("a.candump", "(1) can0 123#0102030405060708\n(2) can0 500##1" + "11" * 24 + "\n")
        self.assertEqual(*(self.rows("a.candump", "--signals", which) for which in ["car.signals", self.DBC]))
        self.signals(self.DBC, "--candump", "-o", "console.csv")
        self.assertTrue((self.folder / "console.csv").read_bytes().endswith(b";candump\r\n"))
        self.run_convert("a.candump", "--signals", "console.csv", "-o", "a.csv", code=1)
        self.assertIn("give --signals the database", self.said)
        self.assertIn("    can0 Engine\n      Intel\n", self.run_convert("--info", "a.candump", "--signals", self.DBC))
        self.assertEqual(self.rows("a.candump", "--signals", self.DBC, "--only", "Engine.Intel")[0], ["time_s", "Intel"])
        self.write("none.candump", "(1) can0 001#01\n")
        self.assertEqual(self.rows("none.candump", "--signals", self.DBC), [["time_s"]])
        self.assertIn("has none of the signals", self.said)
        self.signals(self.DBC, "-o", "console.csv", code=1)
        self.assertIn("is there already", self.said)
        canmatrix.formats.dumpp({"": canmatrix.formats.loadp_flat(str(self.DBC))}, str(self.folder / "a.kcd"), "kcd")
        self.assertIn(";Intel;", self.signals("a.kcd", "-o", "-"))
        self.assertIn("may lose the byte order of multiplexers", self.said)
        self.signals(self.write("b.dbc", "no database"), "-o", "b.csv", code=1)
        self.signals(self.write("c.xyz", ""), "-o", "b.csv", code=1)
        self.run_convert("a.candump", "--signals", "b.dbc", "-o", "b.csv", code=1)
        self.assertLeaves("a.candump", "a.kcd", "b.dbc", "c.xyz", "car.signals", "console.csv", "none.candump")


class Module(Folder):
    def test_log_like_the_converter(self):
        path = self.write("a.log", "\n".join([
            HEADER, "$;-1;early", "1;10;1;2;3;4;5;", "$;10;Now", "$;10;again", "2;4294967295;4;5;-6;7;8;",
            "$;-1;late", "x", "3;1;5-3;5;5;5;5;", "4;1;7;8"]))
        log = self.read(path, xcu_files.read_log)
        self.assertEqual(len(self.warned), 3)
        rows = self.rows(path)
        self.assertEqual(["time_s", *log.columns, "tag"], rows[0])
        self.assertEqual([r.values for r in log.records], [[1, 2, 3, 4, 5], [4, 5, -6, 7, 8], [None, 5, 5, 5, 5]])
        self.assertEqual([tag.ms for tag in log.tags], [None, 10, 10, 2**32 - 1])
        self.assertEqual(list(self.read(path).columns), rows[0][1:])
        self.assertEqual(
            sorted(f"xcu-convert: {line}" for line in self.warned),
            sorted(self.said.replace(f"{self.folder}/", "").splitlines()))

    def test_pandas(self):
        table = [  # lines, ms, values, type of the first channel, tags, warning
            (["$;-1;early", "$;7;old", "1;10;1;", "2;10;-2147483648;"], [10, 10], [[1], [-2**31]], "int32",
             ["early; old", None], ""),
            (["1;50;1;", "$;50;a", "2;0;2;", "$;0;b", "3;50;3;", "$;50;c;"], [50, 0, 50], [[1], [2], [3]], "int32",
             ["a", "b", "c;"], "a.log:4: the clock goes back; times are those of the file"),
            (["1;4294967295;1;", "$;-1;a", "2;4;2;"], [2**32 - 1, 4], [[1], [2]], "int32", ["a", None],
             "a.log:4: the clock has wrapped round at 2^32 ms; times start anew"),
            (["1;1;1;", "2;2 ;2;", "3;3;3;"], [1, 3], [[1], [3]], "int32", [None] * 2, "a.log:3: not a record, left out"),
            (["1;1;1;", "2;2;2;3"], [1], [[1]], "int32", [None], "a.log:3: not a record, left out"),
            (["1;1;1;", "2;2;2\0;"], [1], [[1]], "int32", [None], "a.log:3: not a record, left out"),
            (["1;1;1;", "2;2;+2;", "3;3;3;"], [1, 2, 3], [[1], [None], [3]], "Int32", [None] * 3,
             "a.log:3: a value that is no number of 32 bits, taken as missing"),
            (["1;1;1;", "2;2;4294967298;"], [1, 2], [[1], [None]], "Int32", [None] * 2, "a.log:3: a value that is no"),
            (["1;1;1;", "2;2;9223372036854775808;"], [1, 2], [[1], [None]], "Int32", [None] * 2, "a.log:3: a value"),
            (["1;1;1;2;", "$;1;a", "2;2;3;", "$;2;long text", "3;3;4;5;6;", "4;4;7;"], [1, 2, 3, 4],
             [[1, 2, None], [3, None, None], [4, 5, 6], [7, None, None]], "int32", ["a", "long text", None, None],
             "a.log:4: another number of values than in the record before (3 in all)"),
            (["1;1;1;", "2;4294967296;2;", "$;2;a", "$;-1;b", "$;3;ahead", "3;3;3;"], [1, 2, 3], [[1], [None], [3]],
             "Int32", ["b", "a", "ahead"], "a.log:3: not a record, left out"),
            (["1;1;1;", "2;2;2$;5;x;"], [1, 2], [[1, None, None], [None, 5, None]], "Int32", [None] * 2,
             "a.log:3: a value that is no number of 32 bits, taken as missing (2 in all)"),
            (["$;-1;only"], [None], [[]], "object", ["only"], ""),
            (["", "1;1;1;", "2;2;2;"], [1], [[1]], "int32", [None], "a.log:4: torn line, left out"),
        ]
        for size, (lines, ms, values, kind, tags, message) in itertools.product([15, xcu_pandas.BLOCK], table):
            with self.subTest(lines, size=size), mock.patch("xcu_pandas.BLOCK", size):
                text = "\n".join([HEADER[:14], *lines]) + ("" if "torn" in message else "\n")
                found = self.read(self.write("a.log", text))
                self.assertEqual([None if t is pandas.NaT else t / pandas.Timedelta("1ms") for t in found.index], ms)
                self.assertEqual(found.pop("tag").tolist(), tags)
                rows = found.astype(object).values.tolist()
                self.assertEqual([[None if value is pandas.NA else value for value in row] for row in rows], values)
                self.assertEqual(str(found.dtypes.iloc[0]) if len(found.columns) else "object", kind)
                self.assertIn(message, "".join(self.warned[:1]))
                self.assertEqual(bool(self.warned), bool(message))
        with self.assertRaisesRegex(ValueError, "b.log: has no record of a log"):
            self.read(self.write("b.log", "not a log\n"))

    def test_blackbox(self):
        box = xcu_files.read_rbx(DATA / "drive.rbx")
        self.assertEqual(box.records[19], (5190, [19, -19], [1900]))
        self.assertEqual(box.frames[0][:3] + box.frames[0][6:], (5.0, 2, 0x123, b"\x01\x02\xaa"))
        table = self.read(DATA / "drive.rbx")
        self.assertEqual([list(map(str, row)) for row in table.drop(columns="tag").values],
                         [row[1:-1] for row in self.rows(DATA / "drive.rbx")[1:]])
        self.assertEqual(table.index[19].total_seconds(), 5.19)
        # A value of more than 32 bits, as protobuf cuts it; a bus that no interface has; a clock that goes back.
        odd = self.write("odd.rbx", bytes.fromhex("0a0a 0a06 858080802001 180a 0a05 0a0107 1805 1209 0a0101 20fbffffff0f"))
        self.assertEqual(self.rows(odd)[1:], [["0.010", "5", "1", ""], ["0.005", "7", "", ""]])
        self.assertIn("odd.rbx: the clock goes back", self.said)
        self.assertEqual(self.read(odd)["In0"].tolist(), [5, 7])
        self.assertEqual(self.candump(odd), "(0.000000) can0 000#01\n")
        self.assertLess(len(self.rows(self.write("torn.rbx", (DATA / "drive.rbx").read_bytes()[:100]))), 21)
        self.assertIn("the file breaks off", self.said)
        for read, content in [(xcu_files.to_pandas, (DATA / "drive.rbx").read_bytes()[:100]),
                              (xcu_files.read_rbx, b"\x08\x01"), (xcu_files.read_xcu, b"\x02\0\0\0\x08\x01")]:
            with self.assertRaisesRegex(ValueError, "torn.RBX: damaged"):
                read(self.write("torn.RBX", content))

    def test_small_files(self):
        path = self.write("a.xcu", bytes.fromhex("0d000000 0a0b 0a034f696c 1005 1800 2003 ffff"))
        self.assertEqual(xcu_files.read_xcu(path), [(5, "Oil", "input", 0, 3)])
        first = xcu_files.read_signals(DATA / "signals.csv")[1]
        self.assertEqual(first, (0x123, 16, 8, 1e-7, -40.0, 4, 0, 8, 1, 3, "Öl 100%1"))


class Manners(Folder):
    LOG = HEADER + "\n1;10;1;\n"

    def test_refusals(self):
        files = {
            "a.log": self.LOG, "empty.log": "", "prose.log": "not a log\n", "words.candump": "to be or not to be\n",
            "records.rbx": bytes.fromhex("0a05 0a0105 180a"), "candump-2026.log": "(1.0) can0 123#01\n", "noise.log": random.Random(1).randbytes(100000),
            "noise.rbx": random.Random(2).randbytes(1000)}
        for name, content in files.items():
            self.write(name, content)
        (self.folder / "dir.log").mkdir()
        table = [
            (1, "none.log: cannot read: No such file", "none.log", "-o", "b.csv"),
            (2, "no file to convert", "dir.log", "-o", "b.csv"),
            (1, "empty.log: is empty", "empty.log", "-o", "b.csv"),
            (1, "noise.log: is binary", "noise.log", "-o", "b.csv"),
            (1, "noise.rbx: has no", "noise.rbx", "-o", "b.h5"),
            (1, "words.candump: has no CAN frame", "words.candump", "-o", "b.asc"),
            (1, "records.rbx: has no CAN frame", "records.rbx", "-o", "b.asc"),
            (1, "try --from candump", "candump-2026.log", "-o", "b.csv"),
            (1, "prose.log: has no record", "prose.log", "-o", "b.csv"),
            (1, "none/b.csv: cannot write", "a.log", "-o", "none/b.csv"),
            (2, "cannot be standard output", "a.log", "--to", "h5", "-o", "-"),
            (1, "cannot write", "a.log", "--to", "csv", "-o", "/dev/full"),
            (2, "--from takes log, rbx", "a.xyz", "-o", "b.csv"),
            (2, "--to takes candump, csv", "a.log", "-o", "b"),
            (2, "b.trc: files of this kind are not written; --to takes", "words.candump", "-o", "b.trc"),
            (2, "dir.log: is a folder; use --out-dir", "a.log", "-o", "dir.log"),
            (2, "--from takes log, rbx", "--info", "a.h5"),
            (2, "-o or --out-dir", "a.log"),
            (2, "one .h5 or .mf4, or to a folder by --out-dir", "a.log", "a.log", "-o", "b.csv"),
            (2, "no CAN frames", "a.log", "-o", "b.asc"),
            (2, "--jobs", "a.log", "-o", "b.csv", "--jobs", "many"),
            (2, "INPUT", "-o", "b.csv"),
        ]
        for code, message, *arguments in table:
            with self.subTest(arguments):
                self.run_convert(*arguments, code=code)
                self.assertIn(message, self.said)
                self.assertLeaves(*files, "dir.log")
        self.assertIn("xcu-convert 0", self.run_convert("--version"))
        self.assertIn("xcu-convert drive.log can-drive.candump --signals car.dbc -o drive.mf4", self.run_convert("--help"))

    def test_nothing_is_overwritten(self):
        self.write("a.log", self.LOG)
        self.write("b.csv", "mine")
        mask = os.umask(0o027)
        os.umask(mask)
        self.run_convert("a.log", "-o", "b.csv", code=1)
        self.assertEqual((self.folder / "b.csv").read_text(), "mine")
        self.run_convert("a.log", "-o", "b.csv", "--force")
        self.assertIn("time_s", (self.folder / "b.csv").read_text())
        self.run_convert("a.log", "-o", "new.csv")
        self.assertEqual((self.folder / "new.csv").stat().st_mode & 0o777, 0o666 & ~mask)
        # What it replaces keeps mode and place.
        (self.folder / "b.csv").chmod(0o600)
        (self.folder / "link.csv").symlink_to("b.csv")
        self.run_convert("a.log", "-o", "link.csv", "--force", "--only", "none*", "--only", "A")
        self.assertEqual((self.folder / "b.csv").stat().st_mode & 0o777, 0o600)
        self.assertEqual((self.folder / "b.csv").read_text().splitlines()[0], "time_s,A,tag")
        self.assertTrue((self.folder / "link.csv").is_symlink())

    def test_odd_places(self):
        self.write("a.log", self.LOG)
        (self.folder / "tmp").mkdir()
        self.run_program("sh", "-c", '{ echo mine; "$0" a.log --to csv -o /dev/stdout; } > out', CONVERT)
        self.assertEqual((self.folder / "out").read_text()[:11], "mine\ntime_s")
        for place, code in [("tmp", 0), ("/sys", 1)]:
            self.rows("-", "--from", "log", input=self.LOG.encode(), code=code, environment={"TMPDIR": place})
        self.assertRegex(self.said, "/sys/xcu-convert.*: (Permission denied|Read-only)")

    def test_folder(self):
        """A run over a folder can be repeated; what is not known is counted."""
        (self.folder / "drives" / "XCU1").mkdir(parents=True)
        for name in ["a.log", "XCU1/b.log", "notes.txt.bak", "XCU1/picture.png", "c.xcu", "CAN.candump"]:
            self.write(f"drives/{name}", "(1) can0 1#01\n" if name == "CAN.candump" else self.LOG)
        command = ["drives", "--to", "csv", "--out-dir", "drives/tables"]
        self.run_convert(*command)
        self.assertIn("3 files passed over", self.said)
        made = sorted(path for path in (self.folder / "drives/tables").rglob("*.csv"))
        self.assertEqual([path.name for path in made], ["CAN.csv", "b.csv", "a.csv"])
        self.run_convert(*command, code=1)
        os.utime(self.folder / "drives/a.log", (4e9, 4e9))
        before = {path: path.stat().st_mtime_ns for path in made}
        self.run_convert(*command, "--update")
        self.assertEqual([path.name for path in made if path.stat().st_mtime_ns != before[path]], ["a.csv"])
        self.assertIn("2 files left as made before", self.said)
        # Into the same folder: what it made is no input of the next run.
        for _ in range(2):
            self.run_convert("drives/XCU1", "--to", "csv", "--out-dir", "drives/XCU1", "--force")
        self.run_convert("drives/a.log", "drives/CAN.candump", "drives/XCU1/b.log", "-o", "drives/all.mf4")
        self.assertEqual(
            [group["name"] for group in Mdf4(self.folder / "drives/all.mf4").groups], ["channels", "CAN_DataFrame", "channels"])
        self.run_convert("drives/c.xcu", "--to", "csv", "--out-dir", "out", code=2)
        same = self.write("drives/XCU1/a.log", self.LOG)
        self.run_convert("drives/a.log", same, "drives/XCU1/b.log", "--to", "csv", "--out-dir", "out", code=1)
        self.assertIn("a.csv is made of", self.said)
        self.assertEqual(sorted(os.listdir(self.folder / "out")), ["a.csv", "b.csv"])

    def big_log(self):
        return self.write("big.log", HEADER + "\n" + "".join(f"{n};{n};1;2;3;\n" for n in range(300000)))

    def test_growing_log(self):
        """Records that come while it is read are left out: their values may not be where those before had theirs."""
        path = self.big_log()
        with subprocess.Popen([CONVERT, path, "-o", "a.h5"], cwd=self.folder, stderr=subprocess.DEVNULL) as program:
            while program.poll() is None and not list(self.folder.glob("*.part")):
                pass
            with open(path, "a") as log:
                log.write("1;300000;\n" * 1000)
        with h5py.File(self.folder / "a.h5") as file:
            self.assertEqual(len(file["time_s"]), 300000)

    def test_full_disk(self):
        self.big_log()
        for name in ["b.csv", "b.h5", "b.mf4"]:
            self.run_convert(
                "big.log", "-o", name, code=1,
                preexec_fn=lambda: (signal.signal(signal.SIGXFSZ, signal.SIG_IGN),
                                    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 13, 1 << 13))))
            self.assertIn(f"{name}: cannot write", self.said)
            self.assertLeaves("big.log")

    def start_on_pipe(self, *command):
        """Runs the program until it has begun its output; then awaits more of its input."""
        os.mkfifo(self.folder / "pipe.candump")
        self.addCleanup((self.folder / "pipe.candump").unlink)
        process = subprocess.Popen([*command, CONVERT, "pipe.candump", "-o", "b.asc"], cwd=self.folder)
        pipe = open(self.folder / "pipe.candump", "w")
        self.addCleanup(pipe.close)
        pipe.write("(1.0) can0 123#01\n" * 1000)  # more than it looks at ahead
        pipe.flush()
        while not list(self.folder.glob("b.asc.*.part")):
            self.assertIsNone(process.poll())
        return process, pipe

    def test_kill(self):
        """It ends by the signal, so that a shell's loop ends as well."""
        for number, is_tidy in [(signal.SIGTERM, True), (signal.SIGINT, True), (signal.SIGKILL, False)]:
            process, _ = self.start_on_pipe()
            process.send_signal(number)
            self.assertEqual(process.wait(30), -number)
            self.assertFalse((self.folder / "b.asc").exists())
            self.assertEqual(list(self.folder.glob("*.part")) == [], is_tidy)
            self.doCleanups()
            self.setUp()

    def test_nohup(self):
        process, pipe = self.start_on_pipe("sh", "-c", 'trap "" HUP; exec "$0" "$@"')
        process.send_signal(signal.SIGHUP)
        pipe.write("(2.0) can0 123#02\n")
        pipe.close()
        self.assertEqual(process.wait(30), 0)
        self.assertIn("2.000000", (self.folder / "b.asc").read_text())

    def test_closed_pipe(self):
        self.big_log()
        for command in ["big.log --to csv -o -", "--info big.log big.log big.log"]:
            line = f"{CONVERT} {command} | head -c 10; exit ${{PIPESTATUS[0]}}"
            done = subprocess.run(["bash", "-c", line], cwd=self.folder, capture_output=True, timeout=60)
            self.assertEqual(done.stderr, b"")
            self.assertIn(done.returncode, [128 + signal.SIGPIPE] if "-o" in command else [0, 128 + signal.SIGPIPE])

    def test_progress_on_a_terminal_only(self):
        self.write("a.log", self.LOG)
        command = f"{CONVERT} a.log {DATA / 'drive.candump'} --to csv --force --out-dir ."
        self.assertIn("1 of 2", self.run_program("script", "-qec", command, "/dev/null"))
        self.run_program(*command.split())
        self.assertEqual(self.said, "")


if __name__ == "__main__":
    unittest.main()
