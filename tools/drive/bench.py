# SPDX-License-Identifier: GPL-3.0-or-later
"""Programs as built, on virtual controllers, in a throw-away home, with a Python script in the
operator's chair."""
import collections
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import threading
import time

from wire import Tail, Trace

PATIENCE = 120  # s, for a condition on a machine that has other things to do


def until(condition, what):
    """Waits for a condition and gives what it gave."""
    end = time.monotonic() + PATIENCE
    while not (result := condition()):
        if time.monotonic() > end:
            raise AssertionError(f"in vain: {what}")
        time.sleep(0.01)
    return result


def same(got, expected, what):
    """Raises an error where two values, texts or lists differ, and says where."""
    if got == expected:
        return
    at = 0
    if isinstance(got, (str, list)):
        pairs = zip(got, expected)
        end = min(len(got), len(expected))
        at = next((i for i, (one, other) in enumerate(pairs) if one != other), end)
        got, expected = got[at : at + 200], expected[at : at + 200]
    raise AssertionError(f"{what}, from {at} on:\n got {got!r:.1500}\n expected {expected!r:.1500}")


class Program:
    """One of ours under the drive plugin. All that it says on standard error is kept."""

    def __init__(self, bench, name, environment, setup, stdout):
        stem = bench.home / f"{name}{len(bench.programs)}"
        os.mkfifo(f"{stem}.pipe")
        self.pipe = os.open(f"{stem}.pipe", os.O_RDWR)
        self.output = pathlib.Path(f"{stem}.out")
        output = self.output.open("wb")
        self.said = []
        self.sent = self.done = 0
        self.process = subprocess.Popen(
            [bench.build / "bin" / name], cwd=bench.home, preexec_fn=setup,
            env=dict(environment, XCU_DRIVE_SCRIPT=f"{stem}.pipe"), stdin=subprocess.DEVNULL,
            stdout=stdout or output, stderr=subprocess.PIPE, text=True, errors="replace",
        )
        self.tail, self.read = Tail(self.output), []
        self.listener = threading.Thread(target=self.listen, daemon=True)
        self.listener.start()

    def listen(self):
        for line in self.process.stderr:
            self.said.append(line.rstrip("\n"))
            self.done += line.startswith("drive: line ") and line.endswith(" is done\n")

    def play(self, *lines):
        """Gives the operator's lines and waits until they have been carried out."""
        os.write(self.pipe, "".join(f"{line}\n" for line in lines).encode())
        self.sent += len(lines)
        until(lambda: self.done >= self.sent or self.process.poll() is not None, lines)
        if self.done < self.sent:
            self.listener.join()
            raise AssertionError(f"{self.process.args[0]} ended: {self.said[-9:]}")

    def ask(self, question):
        """The answer, line by line."""
        before = len(self.said)
        self.play(question)
        said = [text for text in self.said[before:] if text.startswith(question.split()[1] + ".")]
        return [text.split(": ", 1)[1] for text in said]

    def sizes_read(self):
        """Of the frames that it has read, by its own trace."""
        lines = self.tail.lines()
        self.read += [int(line[6:]) for line in lines if line.startswith(b"Red:  ")]
        return self.read

    def close(self, window):
        os.write(self.pipe, f"close {window}\n".encode())
        self.see_end()

    def see_end(self):
        code = self.process.wait(PATIENCE)
        self.listener.join()
        same(code, 0, f"exit code ({self.said[-5:]})")

    def memory(self):
        """Resident, in kB."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(status.split("VmRSS:")[1].split()[0])

    def processor_time(self):
        """In seconds, since its start."""
        ticks = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text().rsplit(")")[1].split()
        return (int(ticks[11]) + int(ticks[12])) / os.sysconf("SC_CLK_TCK")

    def descriptors(self):
        """Without sockets: umockdev 0.19 leaves one behind each time a port is opened. And without
        documents, which stay open until they are on the disk."""
        folder = f"/proc/{self.process.pid}/fd"
        targets = [os.path.realpath(f"{folder}/{number}") for number in os.listdir(folder)]
        return sum(not re.search("socket:|/Documents", target) for target in targets)


class Bench:
    """Virtual controllers with these options, for a with statement."""

    def __init__(self, build, *options):
        self.build = pathlib.Path(build).resolve()
        self.folder = tempfile.TemporaryDirectory(prefix="bench-")
        self.home = pathlib.Path(self.folder.name)
        self.documents = self.home / "Documents"
        self.documents.mkdir()
        self.programs = []
        os.mkfifo(self.home / "commands")
        self.commands = os.open(self.home / "commands", os.O_RDWR)
        files = ["--commands", "commands", "--stats", "stats", "--trace", "trace"]
        self.controllers = subprocess.Popen(
            [self.build / "bin" / "virtual-xcu", *files, *options], cwd=self.home,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
        )
        lines = [self.controllers.stdout.readline() for _ in range(2)]
        self.attached = dict(line.split()[1].split("=", 1) for line in lines)
        self.trace = Trace(self.home / "trace")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for program in self.programs:
            program.process.kill()
            program.process.wait()
        self.controllers.send_signal(signal.SIGCONT)
        self.controllers.terminate()
        self.controllers.wait(PATIENCE)
        self.folder.cleanup()

    def start(self, name="datalogger", setup=None, stdout=None, **variables):
        environment = dict(
            os.environ, **self.attached, LC_ALL="C.UTF-8", HOME=str(self.home),
            XDG_CONFIG_HOME=str(self.home / ".config"), QT_QPA_PLATFORM="offscreen",
            QT_QPA_GENERIC_PLUGINS="xcudrive", QT_PLUGIN_PATH=str(self.build / "plugins"),
        )
        self.programs.append(Program(self, name, environment | variables, setup, stdout))
        return self.programs[-1]

    def tell(self, *lines):
        """Line commands for the controllers, which have been carried out afterwards."""
        for line in lines:
            before = self.trace.commands
            os.write(self.commands, f"{line}\n".encode())
            until(lambda: self.line() and self.trace.commands > before, line)

    def line(self, number=1):
        return self.trace.of(f"XCU{number:04}")

    def hush(self, number, program):
        """Ends all answers and waits until the program has read those that were given, whole."""
        self.tell(f"{number} trouble split 0", f"{number} trouble drop 1")
        given = self.counts()["responses sent"]  # of a flood not all have left
        until(lambda: len(self.line(number).responses) >= given, "all has left")
        until(lambda: program.sizes_read() == self.line(number).sizes(), "all is read")

    def counts(self):
        """What the controllers have counted, summed over them."""
        stats = self.home / "stats"
        stats.unlink(missing_ok=True)
        os.write(self.commands, b"stats\n")
        text = until(lambda: stats.exists() and stats.read_text(), "counts")
        sums = collections.Counter()
        for name, number in re.findall(r"^\w+: (.*) (\d+)$", text, re.MULTILINE):
            sums[name] += int(number)
        return sums

    def files(self, pattern):
        """Below the documents folder, by name."""
        return sorted(self.documents.rglob(pattern))
