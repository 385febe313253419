#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds the documents against the sources: what users see must be explained, links must lead."""
import pathlib
import re
import subprocess
import sys

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
DOCS = SOURCE / "docs"

WINDOWS = ["app/**/*.cpp", "comm/*.cpp", "workbench/*.cpp"]
FORMS = ["app/*.ui", "workbench/*.ui"]
TROUBLE = "handbook/troubleshooting.md"
SETTINGS = "handbook/settings.md"
MANUAL = "man/virtual-xcu.1"
ANYWHERE = "handbook/*.md"

# What users meet: where it stands in the sources, where they look it up, and in which forms it may
# stand there. The second field of a form is the text with N for its number.
FACTS = [
    (WINDOWS, r'(?:addLog|showMessage)\(QStringLiteral\("(.*?)"', TROUBLE, ["`{}`"]),
    (["formats/lenienttraces.cpp"], r'\{"\.\w+", "(\w+)", ', TROUBLE,
     ["`Read {} file. %1 canbus frames`"]),
    (["formats/blackboxreader.cpp"], r'QStringLiteral\("(Read .*?)"\)', TROUBLE, ["`{}`"]),
    (["formats/candumpline.cpp"], r'"(Received can)"', TROUBLE, ["`{}%2 frame #%1`"]),
    (WINDOWS, r'print(?:Line|Text)?\("(.*?) *"', TROUBLE, ["{}"]),
    (WINDOWS, r'"(ui/[^"]+)"', SETTINGS, ["`{}`"]),
    (WINDOWS, r'\{Qt::Key_\w+, "(.*?)"\}', SETTINGS, ["| {} |"]),
    (FORMS, r'name="toolTip">\s*<string>(.*?)</string>', ANYWHERE, ["| {} |"]),
    (WINDOWS, r'setToolTip\(\s*QStringLiteral\(\s*"(.*?)"', ANYWHERE, ["| {1} |"]),
    (["app/dataloggerapp.cpp"], r'^    \{"[\w ]+", "(.*?)"\},', ANYWHERE, ["| {} |"]),
    (["simulator/simulationoptions.cpp"],
     r'(?:\b(?:number|rate|path)\(|^ +\{)\s*"([a-z-]+)",', MANUAL, ["Fl -{} ", "Fl -{}\n"]),
    (["simulator/linecommands.cpp"], r'^ +\{"(\S+)", ', MANUAL, ["Cm {}"]),
]


def unexplained():
    for globs, pattern, chapter, forms in FACTS:
        explained = "".join(path.read_text() for path in DOCS.glob(chapter))
        facts = [
            (path, fact)
            for glob in globs
            for path in SOURCE.glob(glob)
            for fact in re.findall(pattern, path.read_text(), re.MULTILINE)
        ]
        if not facts:
            yield f"nothing matches {pattern} any more: mend the test"
        for path, fact in facts:
            if not any(form.format(fact, fact.replace("%1", "N")) in explained for form in forms):
                yield f"{path.relative_to(SOURCE)}: {chapter} does not explain {fact}"


def anchors(text):
    """As the usual viewers make them of headings."""
    for heading in re.findall(r"^#+ (.*)$", text, re.MULTILINE):
        yield re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-")


def dead_links():
    for document in [SOURCE / "README.md", *sorted(DOCS.rglob("*.md"))]:
        for link in re.findall(r"\]\(([^)\s]+)\)", document.read_text()):
            path, _, anchor = link.partition("#")
            target = document.parent / path if path else document
            if not target.exists() or anchor and anchor not in anchors(target.read_text()):
                yield f"{document.relative_to(SOURCE)}: {link} leads nowhere"


def stale_tables():
    check = [sys.executable, DOCS / "handbook" / "protocol.py", "--check"]
    if subprocess.run(check).returncode != 0:
        yield "the tables of the wire protocol are stale"


complaints = [*unexplained(), *dead_links(), *stale_tables()]
sys.exit("\n".join(complaints) or 0)
