#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs what the handbook tells its readers to type: tst_handbook.py BUILD

Every ```sh block of the chapters runs with bash in one throw-away home, in the order of the table of
contents, with the installed programs on the path. An ```output block behind it is what it has to
print; "..." stands for anything within a line. A comment <!-- operator: NAME --> ahead of a block
names the script in scripts/drive that plays the operator in the programs that the block starts. With
"twice" behind the name the block runs twice, so that the recipes behind it find the files of two
sessions, as those of most readers will.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
HANDBOOK = SOURCE / "docs" / "handbook"
TIME_LIMIT = 60  # s, for one block
BLOCK = re.compile(
    r"^(?:<!-- operator: (?P<operator>\S+)(?P<twice> twice)? -->\n+)?```sh\n(?P<commands>.*?)^```$"
    r"(?:\n+```output\n(?P<output>.*?)^```$)?",
    re.MULTILINE | re.DOTALL,
)


def chapters():
    contents = (HANDBOOK / "README.md").read_text()
    return re.findall(r"^\d+\. \[.*?\]\((\S+\.md)\)", contents, re.MULTILINE)


def environment(build, home):
    """That of a user who has just logged in, with the installed programs on the path."""
    result = {name: os.environ[name] for name in os.environ if name.endswith("SAN_OPTIONS")}
    result.update(
        HOME=str(home),
        PATH=f"{home.parent}/usr/bin:/usr/bin:/bin",
        PYTHONPATH=f"{home.parent}/usr/lib/python3/dist-packages",
        LC_ALL="C.UTF-8",
        QT_QPA_PLATFORM="offscreen",
        QT_PLUGIN_PATH=f"{build}/plugins",
    )
    return result


def run(block, home, variables):
    if block["operator"]:
        script = SOURCE / "scripts" / "drive" / f"{block['operator']}.txt"
        variables = dict(
            variables, QT_QPA_GENERIC_PLUGINS="xcudrive", XCU_DRIVE_SCRIPT=str(script)
        )
    command = ["bash", "-euo", "pipefail", "-c", block["commands"]]
    done = subprocess.run(
        command, cwd=home, env=variables, stdin=subprocess.DEVNULL, capture_output=True, text=True,
        timeout=TIME_LIMIT,
    )
    if done.returncode != 0:
        return f"it ended with {done.returncode} and said:\n{done.stdout[-2000:]}{done.stderr}"
    expected = block["output"]
    if expected is None or re.fullmatch(re.escape(expected).replace(r"\.\.\.", ".*"), done.stdout):
        return None
    return f"it printed:\n{done.stdout}\nand not:\n{expected}"


def main(build):
    failures = 0
    with tempfile.TemporaryDirectory(prefix="handbook-") as directory:
        install = ["cmake", "--install", build, "--prefix", f"{directory}/usr"]
        subprocess.run(install, check=True, stdout=subprocess.DEVNULL)
        home = pathlib.Path(directory) / "home"
        (home / "Documents").mkdir(parents=True)
        for chapter in chapters():
            for block in BLOCK.finditer((HANDBOOK / chapter).read_text()):
                failure = None
                for _ in range(2 if block["twice"] else 1):
                    failure = failure or run(block, home, environment(build, home))
                if failure:
                    failures += 1
                    print(f"{chapter}: {block['commands']}{failure}", file=sys.stderr)
    sys.exit(1 if failures else 0)


main(os.path.abspath(sys.argv[1]))
