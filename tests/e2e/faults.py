#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the console has to survive: faults.py BUILD [SCENARIO [CYCLES]]"""
import ctypes
import fcntl
import os
import pathlib
import pty
import re
import resource
import shutil
import signal
import subprocess
import sys
import termios

sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "drive"))

from bench import Bench, same, until

# What Qt says on standard error in any run, and that a record came while no file was open.
USUAL = re.compile(
    r"(qt\.core\.[.\w]+: )?" # of Qt 6
    "(QStandardPaths:|QObject::connect: No such slot QAbstractTableModel|QMetaObject::connectSlotsBy"
    "|This plugin|QString::arg: Argument missing|QIODevice::write .QFile|QFile::setFileName"
    r"|drive:|[\w:]+\.\w+: )")
# Where memory is looked at: a sanitizer would keep what is freed for long.
FREEING = os.environ.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
FOLDER = "Corvane Motion Systems/XCU0001/extLoggerLogs"


def expected_logs(line):
    """The records of each session. A file is closed when its connection ends."""
    found, connection = [], None
    for response in line.responses:
        member, message = response.answer
        if member == "logger_started":
            found.append("")
            connection = response.connection
        elif member == "logger_data" and response.connection == connection:
            numbers = [message.sample_number, message.timestamp, *message.values]
            found[-1] += "".join(f"{number};" for number in numbers) + "\n"
    return found


def written_log(path):
    """The records that a file holds, behind the labels of all channels: "x" for those without."""
    header, _, records = path.read_text().partition("\n")
    labels = header.split(";")
    named = ["Oil pressure (ADC3)", "Oil temperature °C (ADC4)", "Main relay (PWR0)"]
    same(labels[:4] + labels[41:], ["#", "timestamp", *named, *["x"] * 88, ""], "header")
    return records


def expected_capture(line):
    text = ""
    for frame in line.answers("candump_frame"):
        identifier = f"{frame.id:0{8 if frame.extended else 3}x}"
        marker = f"#{int(frame.brs)}" if frame.fd else ""
        text += f"({frame.timestamp / 1000:.6f}) can{frame.bus} {identifier}#{marker}"
        text += frame.data.hex() + "\n"
    return text


def point_count(console, channel):
    (points,) = console.ask(f"points DataLoggerApp:QCustomPlot:0 {channel}")
    return sum(point != "" for point in points.split(";"))


def connect(bench, *lines, **options):
    console = bench.start(**options)
    answered = len(bench.line().answers("configuration"))
    console.play('wait xcuSerialNumber currentText "XCU0001 XCU"', "set refreshRate value 2",
                 *lines, "click pushButton_2", "wait pushButton_2 text Disconnect")
    until(lambda: len(bench.line().answers("configuration")) == answered + 2, "configuration")
    return console


def log(bench, console, records=100):
    console.play("click startLogging")
    see(bench, records)


def see(bench, more):
    wanted = len(bench.line().answers("logger_data")) + more
    until(lambda: len(bench.line().answers("logger_data")) >= wanted, "records")


def leave(bench, console, said=()):
    """Closes at a quiet moment; gives what the last log has to hold."""
    bench.hush(1, console)
    console.close("DataLoggerApp")
    same([text for text in console.said if not USUAL.match(text)], [*said], "standard error")
    return expected_logs(bench.line())[-1]


def killed(build):
    """At most the record in hand is lost, the file opens, and the port is free at once."""
    with Bench(build) as bench:
        console = connect(bench)
        log(bench, console)
        console.process.kill()
        console.process.wait()
        read = bench.line().responses[: len(console.sizes_read())]
        records = sum(response.answer[0] == "logger_data" for response in read)
        (path,) = bench.files("*.log")
        whole = written_log(path).rpartition("\n")[0] + "\n"
        assert whole.count("\n") >= records - 1, f"{records} records, {whole.count(chr(10))} lines"
        same(whole, expected_logs(bench.line())[0][: len(whole)], "log")
        console = connect(bench)
        console.play("trigger actionOpen_with_Timestamp", f'file "{path}"')
        same(point_count(console, 5), whole.count("\n"), "points of the opened log")
        console.close("DataLoggerApp")


def full_disk(build):
    """A file that cannot grow stands for it. All goes on, and once there is room again whole lines
    follow; what had found room in memory is not lost."""
    with Bench(build) as bench:
        console = connect(bench, setup=lambda: signal.signal(signal.SIGXFSZ, signal.SIG_IGN))
        log(bench, console)
        (path,) = bench.files("*.log")
        limit = max(path.stat().st_size, console.output.stat().st_size) + 30000
        most = resource.RLIM_INFINITY
        resource.prlimit(console.process.pid, resource.RLIMIT_FSIZE, (limit, most))
        until(lambda: path.stat().st_size == limit, "a full disk")
        see(bench, 500)
        resource.prlimit(console.process.pid, resource.RLIMIT_FSIZE, (most, most))
        see(bench, 100)
        console.play("click pushButton_2")
        console.close("DataLoggerApp")
        bench.tell("unplug")  # from here on the trace holds all that was sent
        written, whole = written_log(path), expected_logs(bench.line())[-1]
        before = os.path.commonprefix([written, whole]).rpartition("\n")[0]
        assert len(before) > limit + 10000, f"lost from {len(before)} on of {limit}"
        after = written[len(before) + 1 :].splitlines()  # with gaps where memory had room meanwhile
        assert len(after) > 50 and set(after) <= set(whole.splitlines()), "torn lines"


def forget_root():
    """Or permissions would not bind, nor would the mark of a port that another program has open:
    CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH and CAP_SYS_ADMIN go."""
    for capability in (1, 2, 21):
        ctypes.CDLL(None).prctl(24, capability, 0, 0, 0)


def bad_folders(build):
    """Nothing is lost but what has no place."""
    with Bench(build) as bench:
        bench.documents.rmdir()
        log(bench, console := connect(bench))
        log_text = leave(bench, console)
        (path,) = (bench.home / FOLDER).glob("*.log")
        same(written_log(path), log_text, "log in the working directory")
    with Bench(build) as bench:
        console = connect(bench, LC_ALL="fa_IR.UTF-8")  # a language with digits of its own
        for lines in (["click pushButton_2"] * 2, ["click startLogging", "click candump"]):
            until(lambda: console.sizes_read() == bench.line().sizes(), "all is read")
            shutil.rmtree(bench.documents)
            console.play(*lines)
            until(lambda: bench.files("*.*"), "a file in a new folder")
        until(lambda: len(bench.files("*.*")) == 2, "log and capture")
        paths = [path.relative_to(bench.documents) for path in bench.files("*.*")]
        names = [f"{FOLDER}/0000.00.00-000000.log", f"{FOLDER}/can-0000.00.00-000000.candump"]
        same([re.sub("[0-9](?!.*/)", "0", str(path)) for path in paths], names, "paths")
        log_text = leave(bench, console)
        same(written_log(bench.files("*.log")[0]), log_text, "log in a new folder")
    with Bench(build) as bench:
        (bench.documents / FOLDER).mkdir(parents=True)
        (bench.documents / FOLDER).chmod(0o555)
        log(bench, console := connect(bench, setup=forget_root))
        bench.hush(1, console)
        same(point_count(console, 5), len(bench.line().answers("logger_data")), "points")
        leave(bench, console)
        same(bench.files("*.log"), [], "logs in a folder for reading only")
    with Bench(build) as bench:
        (bench.home / ".config").mkdir(mode=0o555)
        log(bench, console := connect(bench, setup=forget_root))
        log_text = leave(bench, console)
        same(written_log(bench.files("*.log")[0]), log_text, "log without a settings store")
        same(list((bench.home / ".config").iterdir()), [], "settings")


def flood(build):
    """Whatever comes is written, and the operator is heard."""
    options = ["--records-per-second", "flood", "--frames-per-second", "flood"]
    with Bench(build, *options) as bench:
        console = connect(bench, "click passiveDatalogger", "set channelCount currentIndex 0")
        log(bench, console)
        console.play("click candump")
        until(lambda: len(bench.line().responses) > 15000, "a flood")
        console.play("click stopLogging")
        bench.tell("rate frames 0", "rate records 0")
        log_text = leave(bench, console)
        same(written_log(bench.files("*.log")[0]), log_text, "log")
        capture = bench.files("*.candump")[0].read_text()
        same(capture, expected_capture(bench.line()), "capture")


def sent_by(program):
    return program.output.read_text().count("<<==>>X")


def stall(build):
    """A controller that neither reads nor answers, and then does. The console's window closes with
    others open and ends the program, and nobody tells the controller: session and capture go on."""
    with Bench(build) as bench:
        console = connect(bench)
        log(bench, console)
        console.play("click candump", "click faultStatus")
        bench.controllers.send_signal(signal.SIGSTOP)
        sent = sent_by(console)
        until(lambda: sent_by(console) > sent + 500, "requests go on")
        console.play("click virtualInputsShow")
        bench.controllers.send_signal(signal.SIGCONT)
        see(bench, 700)
        same(leave(bench, console), written_log(bench.files("*.log")[0]), "log")
        counts = bench.counts()
        stops = [counts[f"received {stop}"] for stop in ("datalogger_stop", "candump_stop")]
        same(stops, [0, 0], "stops")


def damage(build):
    """Frames late, cut anywhere, lost, doubled, and with nonsense between them."""
    kinds = ["delay 50", "garbage 3", "drop 5", "double 7", "split 1"]
    with Bench(build, *(word for kind in kinds for word in ["--command", f"trouble {kind}"])) as bench:
        console = connect(bench, "set channelCount currentIndex 3")
        log(bench, console)
        bench.tell("trouble delay 0")
        see(bench, 100)  # none is on its way any more
        log_text = leave(bench, console)
        same(log_text, written_log(bench.files("*.log")[0]), "log")
        numbers = [int(record.partition(";")[0]) for record in log_text.splitlines()]
        steps = {after - before for before, after in zip(numbers, numbers[1:])}
        assert {0, 1, 2} <= steps and min(steps) == 0, f"steps of the record number: {steps}"
        assert bench.line().answers("garbage"), "no nonsense"
        trace = reversed((bench.home / "trace").read_text().splitlines())
        first = {line.split()[2]: int(line.split()[0]) for line in trace}
        assert first["out"] - first["in"] > 40, "the first answer is not late"


def successor(build):
    """Whoever opens the port after a program that was killed in a flood gets nothing of it."""
    with Bench(build, "--records-per-second", "flood") as bench:
        console = connect(bench, "click passiveDatalogger", "set channelCount currentIndex 0")
        log(bench, console, 1000)
        console.process.kill()
        console.process.wait()
        console = connect(bench, setup=forget_root)
        bench.tell("trouble drop 1")
        until(lambda: console.sizes_read() == bench.line().sizes_since_opened(), "all is read")
        console.close("DataLoggerApp")


def end(bench, program, number):
    """By a signal: as its close button does."""
    locks = f"LCK..ttyACM{bench.controllers.pid}x*"
    assert list(pathlib.Path("/var/lock").glob(locks)), "no lock of a port"
    program.process.send_signal(number)
    program.see_end()
    same(list(pathlib.Path("/var/lock").glob(locks)), [], "locks of ports")


def see_all(bench):
    """No answers from here on, and all that were given are in the log."""
    bench.tell("trouble drop 1")
    given = bench.counts()["responses sent"]
    until(lambda: len(bench.line().responses) >= given, "all has left")
    path, log_text = bench.files("*.log")[-1], expected_logs(bench.line())[-1]
    until(lambda: written_log(path) == log_text, "the whole log")
    times = [one.time for one in bench.line().responses if one.answer[0] == "logger_data"]
    longest = max(after - before for before, after in zip(times, times[1:]))
    print(f"{len(times)} records, the longest pause {longest} ms")
    assert longest < 1900, "requests are late"


def unread(build):
    """Nobody reads what a program prints. Its reader has gone, stands still (a pipe, which goes on
    later, and a terminal), or there never was one."""
    for way, number in (("gone", signal.SIGHUP), ("pipe", signal.SIGINT),
                        ("terminal", signal.SIGTERM), ("none", signal.SIGTERM)):
        with Bench(build) as bench:
            reader, writer = pty.openpty() if way == "terminal" else os.pipe()
            if way == "terminal":
                os.fchmod(writer, 0)  # after "su" it is another user's

            def setup():
                signal.signal(number, signal.SIG_DFL)
                if way == "none":
                    os.close(1)
                elif way == "terminal":
                    forget_root()
                    os.setsid()
                    fcntl.ioctl(1, termios.TIOCSCTTY, 0)

            console = connect(bench, setup=setup, stdout=writer)
            os.close(writer)
            if way == "gone":
                os.close(reader)
            elif way == "none":
                same(os.readlink(f"/proc/{console.process.pid}/fd/1"), "/dev/null", "output")
            log(bench, console, 1500)
            console.play("click candump", "click faultStatus")  # windows that are open besides
            see_all(bench)
            if way == "pipe":
                with subprocess.Popen("cat", stdin=reader, stdout=console.output.open("wb")):
                    os.write(console.pipe, b"trigger actionOpen_with_Timestamp\n")
                    console.play("wait QFileDialog visible true")  # which nobody answers
                    end(bench, console, number)
                same(console.sizes_read(), bench.line().sizes(), "the trace, read late")
            else:
                end(bench, console, number)
            settings = bench.home / ".config/CorvaneMotionSystems/DataLogger.conf"
            assert "refreshRate=2\n" in settings.read_text(), "the settings are not stored"


def slow_disk(build):
    """What is written is put on the disk, and nothing waits for that."""
    with Bench(build) as bench:
        report = bench.home / "report"
        preload = f"{bench.attached['LD_PRELOAD']}:{bench.build}/plugins/libslowdisk.so"
        console = connect(bench, LD_PRELOAD=preload, SLOW_DISK=str(report))
        log(bench, console)
        until(lambda: report.exists() and report.read_text().count(".log") > 1, "a second time")
        (trace := bench.home / "trace.asc").touch()
        console.play("trigger actionOpen_with_Timestamp", f'file "{trace}"',
                     "click pushButton_2", "click pushButton_2", "click startLogging")
        until(lambda: len(bench.files("*.log")) > 1, "the second session")
        see_all(bench)
        end(bench, console, signal.SIGTERM)
        done = dict(line.rsplit(" ", 1) for line in report.read_text().splitlines())
        files = bench.files("*.*") + [*bench.home.glob("asc-*")]  # where captures go on
        same({str(path): done.get(str(path)) for path in files},
             {str(path): str(path.stat().st_size) for path in files}, "bytes on the disk")
        folders = {str(folder) for path in files for folder in path.parents[:4]}
        assert folders <= set(done), f"folders on the disk: {set(done)}"


def departure(build):
    """The workbench keeps the port open when its controller has left, and has nothing to do."""
    with Bench(build) as bench:
        ignore = lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)  # as nohup does
        workbench = bench.start("tuning-workbench", setup=ignore)
        workbench.play("menu menuConnection 0", "wait statusbar message Connected")
        workbench.process.send_signal(signal.SIGHUP)
        see(bench, 5)
        bench.tell("unplug")
        sent, used = sent_by(workbench), workbench.processor_time()
        until(lambda: sent_by(workbench) > sent + 20, "requests go on")  # two seconds
        used = workbench.processor_time() - used
        assert used < 0.5, f"{used} s of processor time for nothing"
        end(bench, workbench, signal.SIGTERM)


def opened(build):
    """Whatever is opened in a session, the session goes on, and nothing gets into its log."""
    with Bench(build) as bench:
        console = connect(bench, ASAN_OPTIONS=FREEING)
        log(bench, console)
        console.play("key S DataLoggerApp:QCustomPlot:0")
        (path,) = bench.files("*.log")
        long = bench.home / "long.log"
        long.touch()
        os.truncate(long, 3 << 30)  # without a line, and without room on the disk
        os.mkfifo(pipe := bench.home / "pipe.csv")
        # One waits for a writer, one never ends, one calls itself regular and has no size.
        none = [pipe, "/dev/zero", "/proc/self/maps"]
        (many := bench.home / "many.csv").write_text("0x1;0;8\n" * 20000)
        before = console.memory()
        for name in (path, long, *none):
            console.play("trigger actionOpen_with_Timestamp", f'file "{name}"')
        for name in (long, *none):
            console.play("click loadCanSignals", f'file "{name}"')
        see(bench, 100)
        assert console.memory() - before < 50000, f"{before} kB, {console.memory()} kB"
        console.play("click loadCanSignals", f'file "{many}"')
        said = [f"{name}: not a file that can be read, or empty" for name in 2 * none]
        records = leave(bench, console, said)
        same(re.sub(r"\$;-?\d+;Engine stall\n", "", written_log(path)), records, "log")


def cycles(build, count=200):
    """Connecting and disconnecting leaves nothing behind."""
    with Bench(build) as bench:
        console = bench.start(ASAN_OPTIONS=FREEING)
        console.play('wait xcuSerialNumber currentText "XCU0001 XCU"')
        marks = {}
        for cycle in range(count + 1):
            if cycle in (count // 4, count):
                timers = console.ask("count DataLoggerApp QTimer")
                threads = len(os.listdir(f"/proc/{console.process.pid}/task"))
                marks[cycle] = console.memory(), (console.descriptors(), threads, timers)
            console.play("click pushButton_2")
            both = 2 * (cycle + 1)  # blocks of the configuration
            until(lambda: len(bench.line().responses) == both, "configuration is sent")
            until(lambda: len(console.sizes_read()) == both, "configuration is read")
            console.play("click pushButton_2")
        (early, held), (late, held_at_last) = marks.values()
        print(f"{count} cycles: {early} kB after a quarter, {late} kB at the end, {held_at_last}")
        same(held_at_last, held, "descriptors, threads, timers")
        assert late - early < 1500 + count // 10, f"memory grows: {early} kB, {late} kB"
        console.close("DataLoggerApp")


SCENARIOS = [killed, full_disk, bad_folders, flood, stall, damage, successor, unread,
             slow_disk, departure, opened, cycles]


def main(build, name=None, *arguments):
    for scenario in SCENARIOS:
        if name in (None, scenario.__name__):
            print(scenario.__name__, flush=True)
            scenario(build, *map(int, arguments))


main(*sys.argv[1:])
