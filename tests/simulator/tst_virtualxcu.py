#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""virtual-xcu as a command, with its exit codes and line commands: tst_virtualxcu.py BUILD"""
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import unittest

sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "tools" / "drive"))

from bench import until

PROGRAM = pathlib.Path(sys.argv.pop()).resolve() / "bin" / "virtual-xcu"
ENDED = 128 + signal.SIGTERM


class VirtualXcu(unittest.TestCase):
    def test_exit_codes(self):
        table = [
            (7, "sh", "-c", "exit 7"),
            (ENDED, "sh", "-c", "kill -TERM $$"),
            (3, "sh", "-c", "trap 'exit 3' TERM; kill -TERM $PPID; while :; do read x; done"),
            (0, "sh", "-c", 'read line; test "$line" = hello'),  # the input is the program's
            (0, "true", "--such"),  # and so is the option
            (2, "--such", "true"),
            (2, "--channels", "129", "true"),
            (2, "--maps", "-1", "true"),
            (2, "--frames-per-second", "-1", "true"),
            (2, "--map-size", "0x4", "true"),
            (2, "--commands", "/such", "true"),
            (127, "/such"),
            (ENDED, "--interactive", "sleep", "100"),
        ]
        for code, *arguments in table:
            with self.subTest(arguments):
                lines = b"hello\nwait 1\nquit"  # the last line may lack its end
                done = subprocess.run([PROGRAM, *arguments], input=lines, capture_output=True, timeout=60)
                self.assertEqual(done.returncode, code)

    def test_line_commands(self):
        table = [
            ("", "eeefeeef"),  # by the command line
            ("device\n", "eef0eef0"),
            ("nonsense\n2 plug now\n3 unplug\n1 unplug\n", "eef0"),
            ("wait 1\n2 bootloader\n", "eeef"),
            ("plug\n", "eef0eeef"),
        ]
        with tempfile.TemporaryDirectory(prefix="virtualxcu-") as folder:
            os.mkfifo(f"{folder}/pipe")
            commands = os.open(f"{folder}/pipe", os.O_RDWR)
            look = "while read x; do echo $(cat /sys/bus/usb/devices/*/idProduct 2>&1); done"
            process = subprocess.Popen(
                [PROGRAM, "--commands", f"{folder}/pipe", "--controllers", "2",
                 "--command", "2 bootloader", "--command", "wait 1", "--command", "1 bootloader", "sh", "-c", look],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, bufsize=1)

            def bus():
                process.stdin.write("look\n")
                return process.stdout.readline().strip()

            for lines, expected in table:
                os.write(commands, lines.encode())
                until(lambda: bus() == expected, lines)
            os.write(commands, b"quit\n")
            self.assertEqual(process.wait(60), ENDED)
            process.communicate()


if __name__ == "__main__":
    unittest.main()
