#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs what the handbook tells its readers to type: tst_handbook.py BUILD [CHAPTER.md...]

Every ```sh block is typed into one shell in the order of the table of contents, in a home and a folder
of its own: once all chapters with the installed programs on the path, once those of SCRIPTS with what
scripts/env makes of a clone; chapters that are named only the latter. An ```output block behind a block
is what it has to print; "..." stands for anything within a line. A comment <!-- operator: NAME --> ahead of a block names the script in
scripts/drive that plays the operator in the programs that the block starts.
"""
import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
HANDBOOK = SOURCE / "docs" / "handbook"
SCRIPTS = ["first-drive.md", "files.md", "tables.md", "traces.md", "protocol.md"]
TIME_LIMIT = 200  # s, for all blocks
MARK = "== next block =="
BLOCK = re.compile(
    r"^(?:<!-- operator: (?P<operator>\S+) -->\n+)?```sh\n(?P<commands>.*?)^```$"
    r"(?:\n+```output\n(?P<output>.*?)^```$)?",
    re.MULTILINE | re.DOTALL,
)


def chapters():
    contents = (HANDBOOK / "README.md").read_text()
    return re.findall(r"^\d+\. \[.*?\]\((\S+\.md)\)", contents, re.MULTILINE)


def environment(build, home):
    """That of a user who has just logged in."""
    result = {name: os.environ[name] for name in os.environ if name.endswith("SAN_OPTIONS")}
    result.update(
        HOME=str(home), PATH="/usr/bin:/bin", LC_ALL="C.UTF-8", QT_QPA_PLATFORM="offscreen",
        QT_PLUGIN_PATH=f"{build}/plugins",
    )
    return result


def typed(block):
    operator = SOURCE / "scripts" / "drive" / f"{block['operator']}.txt"
    drive = f"export QT_QPA_GENERIC_PLUGINS=xcudrive XCU_DRIVE_SCRIPT={shlex.quote(str(operator))}"
    return f"{drive if block['operator'] else 'unset QT_QPA_GENERIC_PLUGINS'}\n{block['commands']}"


def failures_of(pages, start, build, folder):
    """Types `start`, then the blocks of these pages; yields what went wrong."""
    home = folder / "home"
    for part in ["Documents", "here"]:
        (home / part).mkdir(parents=True)
    blocks = [(page, block) for page in pages for block in BLOCK.finditer((HANDBOOK / page).read_text())]
    script = folder / "typed"
    script.write_text(f"\necho '{MARK}'\n".join([start, *(typed(block) for _, block in blocks)]))
    # Ends what the shell has started as well: a build that goes on would spoil the next one.
    command = ["timeout", "-k", "10", str(TIME_LIMIT), "bash", "-euo", "pipefail", script]
    with open(folder / "errors", "w+") as errors:
        done = subprocess.run(
            command, cwd=home / "here", env=environment(build, home), stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=errors, text=True,
        )
        errors.seek(0)
        said = errors.read()[-2000:]
    printed = done.stdout.split(f"{MARK}\n")
    whole = printed[1:-1] if done.returncode else printed[1:]
    for (page, block), text in zip(blocks, whole):
        expected = re.escape(block["output"] or "...").replace(r"\.\.\.", ".*")
        if not re.fullmatch(expected, text, 0 if block["output"] else re.DOTALL):
            yield f"{page}: {block['commands']}it printed:\n{text}\nand not:\n{block['output']}"
    if done.returncode:
        last = [start, *(f"{page}: {block['commands']}" for page, block in blocks)][len(printed) - 1]
        yield f"{last}ended with {done.returncode} and said:\n{printed[-1][-2000:]}{said}"


def main(build, *pages):
    failures = []
    with tempfile.TemporaryDirectory(prefix="handbook-") as name:
        folder = pathlib.Path(name)
        if not pages:
            install = ["cmake", "--install", build, "--prefix", folder / "usr"]
            subprocess.run(install, check=True, stdout=subprocess.DEVNULL)
            path = f"export PATH={folder}/usr/bin:$PATH PYTHONPATH={folder}/usr/lib/python3/dist-packages"
            failures += failures_of(chapters(), path, build, folder / "package")
        clone = shlex.join(["source", str(SOURCE / "scripts" / "env"), build])
        failures += failures_of(pages or SCRIPTS, clone, build, folder / "clone")
    sys.exit("\n".join(failures) or 0)


main(os.path.abspath(sys.argv[1]), *sys.argv[2:])
