#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The console for hours at its fastest pace, with trouble on purpose: soak.py BUILD [HOURS]

128 channels every millisecond and 500 CAN frames a second. Once in half a minute something goes
wrong with the controller. A report follows at the end. The chart keeps 16 bytes of each value: that
is 7 GB an hour.
"""
import itertools
import signal
import sys
import time

from bench import Bench

TROUBLES = ["cable", "delay 2000", "garbage 5", "split 1", "double 10", "drop 10", "stop"]


class Soak:
    def __init__(self, bench):
        self.bench = bench
        self.silences, self.memory = [], []
        self.consoles = self.pulls = 0
        self.begin()

    def begin(self):
        self.consoles += 1
        self.console = self.bench.start()
        self.console.play("set channelCount currentIndex 3", "set refreshRate value 1")
        if not self.connect():
            raise AssertionError("a new console gets no records")
        self.console.play("click candump")

    def connect(self):
        """False if the link is dead, as after a cable that was pulled in the middle of a frame."""
        self.console.play('wait xcuSerialNumber currentText "XCU0001 XCU"', "click pushButton_2",
                          "wait pushButton_2 text Disconnect", "click startLogging")
        end = time.monotonic() + 20
        while time.monotonic() < end:
            if self.console.ask("print statusBar message")[0].startswith("Received logger"):
                return True
        return False

    def pull(self):
        self.pulls += 1
        self.bench.tell("unplug")
        self.console.play("wait pushButton_2 text ^Connect$", "click stopLogging")
        self.bench.tell("plug")
        if not self.connect():
            self.console.close("DataLoggerApp")
            self.begin()

    def make(self, trouble):
        if trouble == "cable":
            self.pull()
        elif trouble == "stop":
            self.bench.controllers.send_signal(signal.SIGSTOP)
            time.sleep(3)
            self.bench.controllers.send_signal(signal.SIGCONT)
        else:
            self.bench.tell(f"trouble {trouble}")
            time.sleep(10)
            self.bench.tell("trouble none")

    def look(self):
        self.silences.append(int(self.console.ask("silence")[0]))
        self.memory.append(self.console.memory() // 1024)

    def run(self, seconds):
        end = time.monotonic() + seconds
        for trouble in itertools.cycle(TROUBLES):
            time.sleep(20)
            self.look()
            if time.monotonic() > end:
                break
            self.make(trouble)
            self.look()
        self.bench.tell("rate frames 0")
        self.console.play("click stopLogging", "pause 3000")
        self.look()
        self.console.close("DataLoggerApp")

    def report(self):
        counts, written, frames = self.bench.counts(), 0, 0
        for path in self.bench.files("*.log"):
            with path.open() as log:
                written += sum(line[0] not in "#$" for line in log)
        for path in self.bench.files("*.candump"):
            with path.open() as capture:
                frames += sum(1 for _ in capture)
        half = len(self.memory) // 2
        print(f"records: {counts['received datalogger_data']} requested, "
              f"{counts['records sent']} sent, {written} written")
        print(f"frames: {counts['frames sent']} sent, {frames} in the files")
        print(f"cables pulled: {self.pulls}, consoles: {self.consoles}")
        print(f"memory: {self.memory[0]} MB, {self.memory[half]} MB, {self.memory[-1]} MB")
        silences = sorted(self.silences)
        print(f"longest silence: {silences[-1]} ms; of most half minutes: {silences[half]} ms")


def main(build, hours="1"):
    with Bench(build, "--frames-per-second", "500", trace=False) as bench:
        soak = Soak(bench)
        soak.run(float(hours) * 3600)
        soak.report()


main(*sys.argv[1:])
