#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Reads what xcu-convert writes with the tools that it is for: tst_convert.py BUILD"""
import csv
import io
import os
import pathlib
import pty
import random
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

import can
import canmatrix.formats
import h5py

BUILD = pathlib.Path(sys.argv.pop()).resolve()
SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
DATA = SOURCE / "tests" / "data"
sys.path.insert(0, str(SOURCE / "python"))
sys.dont_write_bytecode = True
import xcu_files  # noqa: E402

CONVERT = BUILD / "bin" / "xcu-convert"
HEADER = "#;timestamp;" + "".join(f"{name};" for name in ["A", "x", "A", "Speed km/h (CAN1)", "a,\"b"])


def frames_of(reader):
    """(time, bus, id, extended, fd, brs, remote, length, data) of each frame, by python-can."""
    result = []
    for m in reader:
        bus = m.channel if isinstance(m.channel, int) else int(m.channel[3:])
        result.append(
            (round(m.timestamp, 6), bus, m.arbitration_id, m.is_extended_id, m.is_fd,
             m.bitrate_switch, m.is_remote_frame, m.dlc, bytes(m.data))
        )
    return result


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
        done = subprocess.run(command, cwd=self.folder, capture_output=True, timeout=60, **more)
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
            (["1;1;5-3;1;", "2;2;-;99999999999;"], ["0.001,,1,", "0.002,,,"], "no number, left empty (3 in all)"),
            (["1;1;1;", "x", "2;y;1;", "3;3;1\0;"], ["0.001,1,"], "a.log:3: not a record, left out (3 in all)"),
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
        self.write("a.log", "\n".join([HEADER, "1;10;1;2;3;4;", "$;10;Grün", "2;20;5;6;", ""]))
        self.run_convert("a.log", "-o", "a.h5")
        with h5py.File(self.folder / "a.h5") as file:
            self.assertEqual(
                {name: str(channel[:].tolist()) for name, channel in file["channels"].items()},
                {"A": "[1, 5]", "channel 1": "[2, 6]", "A (channel 2)": "[3.0, nan]", "Speed km|h (CAN1)": "[4.0, nan]"})
            self.assertEqual(file["channels/A"].dtype, "int32")
            self.assertEqual(
                dict(file["channels/Speed km|h (CAN1)"].attrs), {"name": "Speed km/h (CAN1)", "unit": "km/h"})
            self.assertEqual(file["time_s"][:].tolist(), [0.01, 0.02])
            self.assertEqual(file["tags"][:].tolist(), [(0.01, "Grün".encode())])
        self.write("b.log", "#;timestamp;a/b;a|b;.;\n1;1;1;2;3;\n")
        self.run_convert("b.log", "-o", "b.h5")
        with h5py.File(self.folder / "b.h5") as file:
            self.assertEqual(set(file["channels"]), {"a|b", "a|b (channel 1)", ". (channel 2)"})

    def test_torn_blackbox(self):
        torn = self.write("torn.rbx", (DATA / "drive.rbx").read_bytes()[:100])
        self.assertLess(len(self.rows(torn)), 21)
        self.assertIn("the file breaks off", self.said)

    def test_info(self):
        self.write("a.log", "\n".join([HEADER, "1;10;1;", "2;20;1;", "7;30;1;", "$;30;Now", ""]))
        self.write("b.candump", "(1.5) can1 123#01\n(2.5) can1 123#0102\n(2.5) can0 00000123##1aa\n")
        self.write("c.xcu", bytes.fromhex("0d000000 0a0b 0a034f696c 1005 1800 2003"))
        text = self.run_convert("--info", "a.log", "b.candump", "c.xcu")
        for told in [
            "records   3, numbers 1 to 7, 4 missing in 1 gap\n", "0.010 s to 0.030 s, 0.020 s",
            "0  A\n", "0.030 s Now", "can1  123  2 frames, up to 2 bytes, every 1.000 s\n",
            "can0  00000123  1 frame, up to 1 byte, FD\n", "5  Oil (ADC3)\n",
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
        rows = self.rows("bus.candump")[1:]
        self.assertEqual(
            [(float(r[0]), int(r[1]), int(r[2], 16), *(v == "1" for v in r[3:7]), int(r[7]), bytes.fromhex(r[8]))
             for r in rows], expected)

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
        self.assertEqual([row[8] for row in self.rows(DATA / "drive.rbx", "--frames")[1:3]],
                         ["0102aa", "1122334455667788"])

    def test_what_a_format_cannot_say(self):
        self.write("a.candump", "(1.0) can1 20000004#00\n(2.0) can1 123##301\n")
        self.assertEqual(self.rows("a.candump")[1][2], "20000004")
        self.assertIn("error state of a CAN FD frame", self.said)
        self.run_convert("a.candump", "-o", "a.asc")
        self.assertIn("class of an error frame", self.said)

    def test_oddities(self):
        columns = "TYPE,TIME,ID,D1,D2,D3,D4,D5,D6,D7,D8,ASCII,COUNT,PERIOD\n"
        table = [
            ("a.candump", "(1) can1 123#01\n\n(2) can1 123#012\n(2) can1 xyz#\n(2) can1 4#R-1\n(3) can1 4#02\n",
             "(1.000000) can1 123#01|(3.000000) can1 004#02", "a.candump:3: not a frame, left out (3 in all)"),
            ("asc-1.candump", f"(1.0) can2  12#01\n(1.0) can2 12345#{'00' * 12}\n",
             f"(1.000000) can2 012#01|(1.000000) can2 00012345##0{'00' * 12}", "taken for CAN FD"),
            ("canbb-1.candump", "(0.005025) can2   a#\n", "(5.025000) can2 00a#", "thousands of seconds"),
            ("a.txt", "23:59:59.999 -> C:id=16:n=1:01\n00:00:00.000 -> C:id=2048:n=0:\n",
             "(86399.999000) can0 010#01|(86400.000000) can0 00000800#", "a.txt:2: midnight"),
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
                   "0x7ff;0;8;1;0;2;0;0;0;-1;\n0x1;512;8;1;0;1;0;0;0;-1;Outside\n")
        rows = self.rows(DATA / "drive.candump", "--signals", "set.csv")
        self.assertEqual(
            rows,
            [["time_s", "Oil", "Mode", "signal 3"], ["12.345000", "4312.2", "1", ""],
             ["12.355000", "", "", "17"], ["13.845000", "4312.2", "3", ""]])
        self.assertIn('set.csv:2: "Show" is 0, taken as 1', self.said)
        self.assertIn("set.csv:4: Outside: not within 64 bytes, left out", self.said)
        # As on the chart, bits of an FD frame from a capture count from the digit of its mark.
        self.write("fd.candump", "(1) can0 7ff##155\n")
        self.assertEqual(self.rows("fd.candump", "--signals", "set.csv")[1][3], "1")
        self.run_convert(DATA / "drive.candump", "--signals", "set.csv", "-o", "a.h5")
        with h5py.File(self.folder / "a.h5") as file:
            self.assertEqual(file["signals/Oil/value"][:].tolist(), [4312.2, 4312.2])
            self.assertEqual(file["signals/Oil/time_s"][:].tolist(), [12.345, 13.845])


class Databases(Folder):
    DBC = DATA / "signals.dbc"

    def signals(self, *arguments, **more):
        return self.run_program("/usr/bin/python3", SOURCE / "python" / "xcu-signals", *arguments, **more)

    def test_right_to_the_value(self):
        # In captures of CAN FD frames bits count from the digit of the mark.
        self.signals(self.DBC, "--candump", "-o", "set.csv")
        left_out = {"Engine.Float": "floating point", "Long.Unsigned32": "unsigned 32 bits", "Long.Wide": "33 bits",
                    "MultiWide.Crossed": "its multiplexer has the other byte order"}
        for name, why in left_out.items():
            self.assertIn(f"{name}: {why}", self.said)
        self.assertEqual(self.said.count("\n"), len(left_out))
        rand, lines, expected = random.Random(1), [], []
        frames = canmatrix.formats.loadp_flat(str(self.DBC)).frames
        for n in range(300):
            frame = rand.choice(frames)
            data = bytearray(rand.randbytes(frame.size))
            if frame.name == "Multi":
                data[0] = rand.choice([1, 200, 3])
            expected.append(
                {f"{frame.name}.Motorola" if name == "Motorola" else name: float(signal.phys_value)
                 for name, signal in frame.decode(bytes(data)).items() if f"{frame.name}.{name}" not in left_out})
            can_id = f"{frame.arbitration_id.id:0{8 if frame.arbitration_id.extended else 3}x}"
            lines.append(f"({n}.0) can0 {can_id}#{'#1' if frame.size > 8 else ''}{data.hex()}\n")
        self.write("a.candump", "".join(lines))
        rows = self.rows("a.candump", "--signals", "set.csv")
        self.assertEqual(len(rows), 301)
        for row, values in zip(rows[1:], expected):
            found = {name: float(text) for name, text in zip(rows[0][1:], row[1:]) if text}
            self.assertEqual(set(found), set(values))
            for name, value in values.items():
                self.assertAlmostEqual(found[name], value, places=9, msg=name)

    def test_other_databases(self):
        matrix = canmatrix.formats.loadp_flat(str(self.DBC))

        def signals_in(name):  # of one byte, so of either order
            return sorted(line for line in self.signals(name, "-o", "-").splitlines() if ";Mux;" not in line)

        canmatrix.formats.dumpp({"": matrix}, str(self.folder / "a.kcd"), "kcd")
        self.assertEqual(signals_in(self.DBC), signals_in("a.kcd"))
        self.assertIn("may lose the byte order of multiplexers", self.said)

    def test_through_the_converter(self):
        path = os.pathsep.join([str(SOURCE / "python"), os.environ["PATH"]])
        surroundings = dict(os.environ, PATH=path)
        self.run_convert("--from", "dbc", "-", "-o", "set.csv", env=surroundings, input=self.DBC.read_bytes())
        self.assertEqual(len(xcu_files.read_signals(self.folder / "set.csv")), 11)
        self.run_convert(self.DBC, "-o", "set.csv", code=1, env=surroundings)
        self.assertIn("is there already", self.said)
        self.signals(self.write("b.dbc", "no database"), "-o", "b.csv", code=1)
        self.signals(self.write("c.xyz", ""), "-o", "b.csv", code=1)
        self.assertLeaves("b.dbc", "c.xyz", "set.csv")


class Module(Folder):
    def test_log_like_the_converter(self):
        path = self.write("a.log", "\n".join([
            HEADER, "$;-1;early", "1;10;1;2;3;4;5;", "$;10;Now", "$;10;again", "2;4294967295;4;5;-6;7;8;",
            "$;-1;late", "3;1;7;8"]))
        log = xcu_files.read_log(path)
        rows = self.rows(path)
        self.assertEqual(["time_s", *log.columns, "tag"], rows[0])
        self.assertEqual([r.values for r in log.records], [[1, 2, 3, 4, 5], [4, 5, -6, 7, 8]])
        self.assertEqual([tag.ms for tag in log.tags], [None, 10, 10, 2**32 - 1])
        table = xcu_files.to_pandas(log)
        self.assertEqual(list(table["tag"]), [row[-1] for row in rows[1:]])
        self.assertEqual(table["A"].iloc[2], 4)
        self.assertEqual(table.index[1].total_seconds(), 0.01)

    def test_frames(self):
        self.write("a.candump", "(1.5) can1 123#0102aa\n(2.5) can0 00000123##1aa\n(3.5) can2  12#\n")
        self.assertEqual(
            xcu_files.read_candump(self.folder / "a.candump"),
            [(1.5, 1, 0x123, False, False, False, b"\x01\x02\xaa"), (2.5, 0, 0x123, True, True, True, b"\xaa"),
             (3.5, 2, 0x12, False, False, False, b"")])
        box = xcu_files.read_rbx(DATA / "drive.rbx")
        self.assertEqual(box.records[19], (5190, [19, -19], [1900]))
        self.assertEqual(box.frames[0][:3] + box.frames[0][6:], (5.0, 2, 0x123, b"\x01\x02\xaa"))
        self.assertEqual(xcu_files.to_pandas(box.frames)["id"].iloc[1], 0x7FF)
        with self.assertRaises(ValueError):
            xcu_files.read_rbx(self.write("torn.rbx", (DATA / "drive.rbx").read_bytes()[:100]))

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
            "candump-2026.log": "(1.0) can0 123#01\n", "noise.log": random.Random(1).randbytes(100000),
            "noise.rbx": random.Random(2).randbytes(1000)}
        for name, content in files.items():
            self.write(name, content)
        (self.folder / "dir.log").mkdir()
        table = [
            (1, "none.log: cannot read: No such file", "none.log", "-o", "b.csv"),
            (1, "dir.log: is a folder", "dir.log", "-o", "b.csv"),
            (1, "empty.log: is empty", "empty.log", "-o", "b.csv"),
            (1, "noise.log: is binary", "noise.log", "-o", "b.csv"),
            (1, "noise.rbx: has no", "noise.rbx", "-o", "b.h5"),
            (1, "words.candump: has no CAN frame", "words.candump", "-o", "b.asc"),
            (1, "try --from candump", "candump-2026.log", "-o", "b.csv"),
            (1, "prose.log: has no record", "prose.log", "-o", "b.csv"),
            (1, "none/b.csv: cannot write", "a.log", "-o", "none/b.csv"),
            (1, "HDF5", "a.log", "--to", "h5", "-o", "-"),
            (1, "cannot write", "a.log", "--to", "csv", "-o", "/dev/full"),
            (2, "--from", "a.xyz", "-o", "b.csv"),
            (2, "--to", "a.log", "-o", "b"),
            (2, "cannot be made a .trc file", "words.candump", "-o", "b.trc"),
            (2, "not shown", "--info", "a.dbc"),
            (2, "not read", "--info", "a.h5"),
            (2, "-o or --out-dir", "a.log"),
            (2, "--out-dir", "a.log", "a.log", "-o", "b.csv"),
            (2, "no CAN frames", "a.log", "-o", "b.asc"),
            (2, "--jobs", "a.log", "-o", "b.csv", "--jobs", "many"),
            (2, "FILE", "-o", "b.csv"),
        ]
        for code, message, *arguments in table:
            with self.subTest(arguments):
                self.run_convert(*arguments, code=code)
                self.assertIn(message, self.said)
                self.assertLeaves(*files, "dir.log")
        self.assertIn("xcu-convert 0", self.run_convert("--version"))
        self.assertIn("--out-dir", self.run_convert("--help"))

    def test_nothing_is_overwritten(self):
        self.write("a.log", self.LOG)
        self.write("b.csv", "mine")
        mask = os.umask(0o027)
        os.umask(mask)
        self.run_convert("a.log", "-o", "b.csv", code=1)
        self.assertEqual((self.folder / "b.csv").read_text(), "mine")
        self.run_convert("a.log", "-o", "b.csv", "--force")
        self.assertIn("time_s", (self.folder / "b.csv").read_text())
        self.assertEqual((self.folder / "b.csv").stat().st_mode & 0o777, 0o666 & ~mask)

    def test_many_files(self):
        for unit in ["XCU1", "XCU2"]:
            (self.folder / unit).mkdir()
            self.write(f"{unit}/same.log", self.LOG)
            self.write(f"{unit}/{unit}.log", self.LOG)
        (self.folder / "out").mkdir()
        self.run_convert(*self.folder.glob("XCU*/*.log"), "--to", "csv", "--out-dir", "out", code=1)
        self.assertIn("same.csv is made of", self.said)
        self.assertEqual(sorted(os.listdir(self.folder / "out")), ["XCU1.csv", "XCU2.csv", "same.csv"])

    def big_log(self):
        return self.write("big.log", HEADER + "\n" + "".join(f"{n};{n};1;2;3;\n" for n in range(300000)))

    def test_full_disk(self):
        self.big_log()
        for name in ["b.csv", "b.h5"]:
            self.run_convert(
                "big.log", "-o", name, code=1,
                preexec_fn=lambda: (signal.signal(signal.SIGXFSZ, signal.SIG_IGN),
                                    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 16, 1 << 16))))
            self.assertIn(f"{name}: cannot write", self.said)
            self.assertLeaves("big.log")

    def test_kill(self):
        self.big_log()
        for number, is_tidy in [(signal.SIGTERM, True), (signal.SIGKILL, False)]:
            os.mkfifo(self.folder / "pipe.candump")
            process = subprocess.Popen([CONVERT, "pipe.candump", "-o", "b.asc"], cwd=self.folder)
            with open(self.folder / "pipe.candump", "w") as pipe:
                pipe.write("(1.0) can0 123#01\n" * 1000)  # more than it looks at ahead
                pipe.flush()
                while not list(self.folder.glob("b.asc.*.part")):
                    self.assertIsNone(process.poll())
                process.send_signal(number)
                process.wait(30)
            self.assertFalse((self.folder / "b.asc").exists())
            self.assertEqual(list(self.folder.glob("*.part")) == [], is_tidy)
            (self.folder / "pipe.candump").unlink()

    def test_closed_pipe(self):
        self.big_log()
        process = subprocess.Popen(
            [CONVERT, "big.log", "--to", "csv", "-o", "-"], cwd=self.folder,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        process.stdout.readline()
        process.stdout.close()
        self.assertIn(b"standard output: cannot write: Broken pipe", process.stderr.read())
        process.stderr.close()
        self.assertEqual(process.wait(30), 1)

    def test_progress_on_a_terminal_only(self):
        os.mkfifo(self.folder / "slow.candump")
        ours, theirs = pty.openpty()
        process = subprocess.Popen(
            [CONVERT, "slow.candump", DATA / "drive.candump", "--to", "asc", "--out-dir", "."],
            cwd=self.folder, stderr=theirs)
        os.close(theirs)
        with open(self.folder / "slow.candump", "w") as pipe:
            pipe.write("(1.0) can0 123#01\n" * 1000)
            pipe.flush()
            shown = os.read(ours, 100)
        self.assertIn(b" %", shown)
        self.assertEqual(process.wait(30), 0)
        os.close(ours)


if __name__ == "__main__":
    unittest.main()
