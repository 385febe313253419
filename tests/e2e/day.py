#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A day of the console and the workbench on two controllers: day.py BUILD

All that the operators do stands here, and what must come of it: each command byte for byte as an
encoder of its own makes it, and each file, status text, table and curve as told by the records and
frames that left the controllers.
"""
import pathlib
import re
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "drive"))

import told
from bench import Bench, same, until
from wire import command

POLLS = [command("datalogger_data"), command("fault_get_fault_count")]
PLOT = "DataLoggerApp:QCustomPlot:0"
# What Qt says on standard error in any run, and that a record came while no file was open.
USUAL = re.compile(
    "QStandardPaths:|QObject::connect: No such slot QAbstractTableModel|QMetaObject::connectSlotsBy"
    "|This plugin|QString::arg: Argument missing|QIODevice::write .QFile|QFile::setFileName"
    r"|drive:|[\w:]+\.\w+: ")


def start_command(channels, passive=0):
    return command("datalogger_start", channels=range(channels), passive=passive)


class Operator:
    """Of the console on the first controller: what he does, and what he has a right to expect."""

    def __init__(self, bench):
        self.bench = bench
        self.console = bench.start()
        self.play = self.console.play
        self.commands, self.texts, self.tags = [], [], []
        self.connections = 0
        self.play("follow statusBar", "set refreshRate value 5", "click autostart")

    def answers(self, member):
        return self.bench.line().answers(member)

    def connect(self, channels=64, passive=0):
        """With "auto start" logging begins, twice from the second connection on: by then each of
        the two blocks of the configuration completes the pair."""
        before = len(self.answers("logger_started"))
        self.play('wait xcuSerialNumber currentText "^XCU0001 XCU$"',
                  f"set passiveDatalogger checked {passive}",
                  f"set channelCount currentIndex {channels // 32 - 1}",
                  "click pushButton_2", "wait pushButton_2 text ^Disconnect$")
        starts = 2 if self.connections else 1
        self.connections += 1
        self.texts += ["Connected"] + ["Sent start request"] * starts
        self.commands += [command("read_configuration", config_id=block) for block in (0, 6)]
        self.commands += [start_command(channels, passive)] * starts
        until(lambda: len(self.answers("logger_started")) == before + starts, "auto start")
        self.see("logger_data", 30)

    def see(self, member, more):
        wanted = len(self.answers(member)) + more
        until(lambda: len(self.answers(member)) >= wanted, member)

    def click(self, button, *commands):
        self.play(f"click {button}")
        self.commands += commands

    def press(self, key, tag):
        self.play(f"key {key} DataLoggerApp")
        self.tags.append(tag)

    def slide(self, index, value):
        self.play(f"set virtualInputsWidget:QSlider:{index} value {value}")
        self.commands.append(command("virtual_input_set", index=index, value=value))
        self.texts.append(f"Set VI {index} to {value}")
        self.tags.append(f"VI{index}={value}")

    def lose(self, how):
        """The link, at a quiet moment in a session."""
        self.bench.hush(1, self.console)
        self.bench.tell(how)
        self.play("wait pushButton_2 text ^Connect$")
        self.texts.append("Disconnected")

    def ask_points(self, graph):
        (answer,) = self.console.ask(f"points {PLOT} {graph}")
        return told.points_of(answer)


def without_polls(commands):
    return [payload for payload in commands if payload not in POLLS]


def tune(bench, workbench):
    workbench.play(
        "menu menuConnection 1", "wait statusbar message ^Connected$", "trigger actionValue_Viewer",
        "trigger actionPlot_Viewer", 'wait seqNo text "SeqNo: [0-9]"', "menu menuMap_Tuning 1",
        "wait mapValues columnCount ^17$")
    loaded = 4 + 16 + 12 + 16 * 12  # commands until the map of 16 by 12 is there
    until(lambda: len(without_polls(bench.line(2).commands)) == loaded, "the map")
    workbench.play("cell mapValues 2 3 777")


def drive(day):
    """Tags, inputs, capture, a frame by hand, faults, calibration."""
    day.connect(128)
    day.press("H", "Hard shift")
    day.press("F4", "Very Hard")
    day.press("Ctrl+S", "Engine stall")
    day.press("7", "7")
    day.slide(0, 512)
    day.slide(11, 1024)
    day.click("candump", command("candump_start"))
    day.see("candump_frame", 100)
    # Digits pair up from the end, and what is none is skipped.
    day.play("set canNetId value 2", "set canMsgId value 427", 'type canMsgData "1 0a:ff"',
             "set canMsgType currentIndex 1", "set canMsgMode currentIndex 1")
    day.click("canMsgSend", command("can_send_message", data=b"\x01\x0a\xff", bus=2, id=427,
                                    extended=1, fd=1))
    day.bench.tell("1 fault add 1 4 65537 17 5")
    day.click("faultStatus")
    day.click("refreshButton", command("fault_get_faults"))
    day.play("wait faultList rowCount ^4$")
    day.click("calibrationStart", command("driver_calibration_start"))
    until(lambda: {"status": 0} in day.answers("driver_calibration_status"), "calibration")
    day.bench.tell("1 rate frames 0")
    day.click("stopLogging", command("datalogger_stop"))


def check_windows(day):
    day.bench.hush(1, day.console)
    ask = day.console.ask
    labels = told.channel_labels(day.bench.line())
    strip = [label or f"data {i + 1}" for i, label in enumerate(labels)]
    same(ask("texts dataSeriesLayout_2"), strip, "channel strip")
    newest = {frame["id"]: frame for frame in day.answers("candump_frame")}
    rows = [told.candump_row(newest[identifier]) for identifier in sorted(newest)]
    same(ask("texts tableView"), rows, "candump table")
    faults = day.answers("fault_list")[-1]["faults"]
    same(ask("texts faultList"), [told.fault_row(fault) for fault in faults], "fault table")
    count = day.answers("fault_count")[-1]
    button = f"Faults: {count['first_count']}/{count['second_count']}"
    same(ask("print faultStatus text"), [button], "fault button")
    day.bench.tell("1 trouble none")


def rest_of_the_day(day):
    """A session by hand and the cable pulled in it, a reset into the bootloader in the next one, at
    last a passive one."""
    day.play("set channelCount currentIndex 0")
    day.click("startLogging", start_command(32))
    day.texts.append("Sent start request")
    day.see("logger_data", 30)
    day.lose("1 unplug")
    day.bench.tell("1 plug", "1 trouble none")
    day.connect()
    day.lose("1 bootloader")
    day.play("wait xcuSerialNumber currentText ^XCU0001$")
    day.bench.tell("1 device", "1 trouble none")
    day.connect(passive=1)
    day.click("stopLogging", command("datalogger_stop"))
    day.bench.hush(1, day.console)
    day.console.close("DataLoggerApp")


def check_workbench(bench, workbench):
    bench.hush(2, workbench)
    line = bench.line(2)
    record = line.answers("logger_data")[-1]
    shown = [f"SeqNo: {record['sample_number']}", f"Timestamp: {record['timestamp']}"]
    for channel, value in enumerate(record["values"]):
        shown += [f"data {channel + 1}", str(value), ""]
    same(workbench.ask("texts ValueViewer"), shown, "value viewer")
    ((x, y, values),) = [[data[name] for name in ("x_labels", "y_labels", "values")]
                         for data in line.answers("map_data")]
    expected = [start_command(32), command("map_tuner_start")]
    expected += [command(f"map_tuner_{name}", map_id=1) for name in ("get_map_details", "get_map")]
    # What is loaded goes back to the controller, labels first, then column by column.
    expected += [command("map_tuner_set_map_label", map_id=1, axis=axis, label_id=i, value=value)
                 for axis, labels in enumerate((x, y)) for i, value in enumerate(labels)]
    cells = [(i, j, values[len(x) * j + i]) for i in range(len(x)) for j in range(len(y))]
    expected += [command("map_tuner_set_map_value", map_id=1, x_id=i, y_id=j, value=value)
                 for i, j, value in cells + [(2, 1, 777)]]
    same(without_polls(line.commands), expected, "the workbench's commands")
    values[len(x) + 2] = 777
    rows = [["", *x]] + [[y[j], *values[len(x) * j : len(x) * (j + 1)]] for j in range(len(y))]
    same(workbench.ask("texts mapValues"), ["\t".join(map(str, row)) for row in rows], "map")
    workbench.close("MainWindow")


def check_link(day):
    line, trace = day.bench.line(), day.console.output.read_text()
    same(without_polls(line.commands), day.commands, "commands")
    headers = re.findall(r"^Header:  (\d+)$", trace, re.M)
    same([int(size) for size in headers], line.sizes(), "frames")
    lost = trace.count("<<==>>X\n") - len(line.commands)
    assert 0 <= lost < 500, f"{lost} requests were lost where the cable was pulled"


def check_texts(day):
    said = day.console.said
    shown = [text.partition(": ")[2] for text in said if text.startswith("statusBar.message")]
    of_answers = re.compile("Received|Candump|Adptation")
    same(told.without_repeats(text for text in shown if of_answers.match(text)),
         told.without_repeats(told.status_texts(day.bench.line())), "texts about answers")
    same(told.without_repeats(text for text in shown if not of_answers.match(text)),
         told.without_repeats(day.texts), "texts about the operator")
    same([text for text in said if not USUAL.match(text)], [], "standard error")


def check_logs(day):
    contents, tags = [], []
    for path in day.bench.files("*.log"):
        lines, last = [], "-1"
        for line in path.read_text().splitlines(True):
            if line.startswith("$"):
                same(line.split(";")[1], last, "time of a tag")
                tags.append(line.split(";")[2].rstrip("\n"))
            else:
                lines.append(line)
                last = line.split(";")[1]
        contents.append("".join(lines))
    same(tags, day.tags, "tags")
    expected = []
    logs = told.logs(day.bench.line())
    for (time, text), (later, _) in zip(logs, logs[1:] + [(float("inf"), "")]):
        # A session that begins within the second of the one before takes its file.
        if text in contents or later - time > 1500:
            expected.append(text)
    same(contents, expected, "logs")


def check_other_files(day):
    (capture,) = day.bench.files("*.candump")
    frames = "".join(map(told.candump_line, day.answers("candump_frame")))
    same(capture.read_text(), frames, "capture")
    block = next(got["data"] for got in day.answers("configuration") if got["config_id"] == 0)
    same({path.read_bytes() for path in day.bench.files("*.xcu")}, {block}, "backups")
    settings = (day.bench.home / ".config/CorvaneMotionSystems/DataLogger.conf").read_text()
    kept = re.findall("^(?:autostart|channelsCount|refreshRate)=.*", settings, re.M)
    same(kept, ["autostart=2", "channelsCount=1", "refreshRate=5"], "settings")


def evening(bench):
    """A new console opens all that was written."""
    day = Operator(bench)
    logs, (capture,) = bench.files("*.log"), bench.files("*.candump")
    for path in [*logs, capture]:
        day.play("trigger actionOpen_with_Timestamp", f'file "{path}"')
    texts, frames = [path.read_text() for path in logs], capture.read_text().splitlines()
    for channel in (0, 5, 32, 127):
        same(day.ask_points(channel), told.opened_curve(texts, channel), f"curve {channel}")
    names = texts[-1].split("\n")[0].split(";")[2:130]
    same(day.console.ask("texts dataSeriesLayout_2"), names, "names")
    day.play(f'wait statusBar message "^Read candump file. {len(frames)} canbus frames$"')
    identifiers = [frame.split()[2].split("#")[0] for frame in frames]
    listed = sorted({f"0x{int(identifier, 16):03x}" for identifier in identifiers})
    same(day.console.ask("texts canFrameIds"), listed, "identifiers")
    day.console.close("DataLoggerApp")


def main(build):
    options = ["--controllers", "2", "--frames-per-second", "300", "--calibration-time", "300"]
    with Bench(build, *options) as bench:
        day = Operator(bench)
        workbench = bench.start("tuning-workbench")
        tune(bench, workbench)
        drive(day)
        check_windows(day)
        rest_of_the_day(day)
        check_workbench(bench, workbench)
        for check in (check_link, check_texts, check_logs, check_other_files):
            check(day)
        evening(bench)


main(sys.argv[1])
