#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the message tables of protocol.md anew from schema/link.proto.

With --check it writes nothing and fails if the tables are not those of the schema.
"""
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent
CHAPTER = HERE / "protocol.md"
SCHEMA = HERE.parent.parent / "schema" / "link.proto"
FIELD = re.compile(r"\s*((?:repeated )?\w+) (\w+) = (\d+);")


def blocks(text, kind):
    """Name and body of each top-level message or enum, in order."""
    return re.findall(rf"^{kind} (\w+) {{(?:}}|(.*?)^}})$", text, re.MULTILINE | re.DOTALL)


def fields(body):
    """(type, name, number) of every line that declares a field."""
    return [found.groups() for found in map(FIELD.match, body.splitlines()) if found]


def field_text(messages, kind):
    """The chapter says that fields are numbered in this order."""
    if kind not in messages:
        return f"the number itself, {kind}"
    listed = fields(messages[kind])
    if [int(number) for *_, number in listed] != list(range(1, len(listed) + 1)):
        sys.exit(f"{SCHEMA}: the fields of {kind} are not numbered from 1 on")
    return ", ".join(f"`{name}` {kind}" for kind, name, _ in listed)


def envelope_table(messages, envelope):
    members = [field for field in fields(messages[envelope]) if field[1] != "protocol_version"]
    rows = [
        f"| {number} | `{name}` | {field_text(messages, kind)} |"
        for kind, name, number in members
    ]
    return "\n".join(["| Number | Member | Fields |", "|---|---|---|"] + rows)


def enum_table(text):
    rows = [
        f"| `{name}` | {', '.join(f'{number} `{value}`' for value, number in values)} |"
        for name, body in blocks(text, "enum")
        for values in [re.findall(r"(\w+) = (\d+);", body)]
    ]
    return "\n".join(["| Enumeration | Values |", "|---|---|"] + rows)


def tables(text):
    messages = dict(blocks(text, "message"))
    return {
        "commands": envelope_table(messages, "Command"),
        "responses": envelope_table(messages, "Response"),
        "fault": f"`FaultItem`: {field_text(messages, 'FaultItem')}.",
        "enumerations": enum_table(text),
    }


def main():
    old = new = CHAPTER.read_text()
    for name, table in tables(SCHEMA.read_text()).items():
        place = re.compile(rf"(?<=<!-- begin {name} -->\n).*?(?=\n<!-- end {name} -->)", re.DOTALL)
        new, count = place.subn(lambda _: table, new)
        if count != 1:
            sys.exit(f"{CHAPTER}: no place for the {name}")
    if sys.argv[1:] == ["--check"]:
        sys.exit(old != new and f"{CHAPTER} lags behind {SCHEMA.name}: run {__file__}")
    CHAPTER.write_text(new)


main()
