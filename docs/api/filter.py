#!/usr/bin/env python3
"""Prints a public header as Doxygen is to read it.

The comment at the top describes the file; code in comments, indented by three columns, becomes Markdown's; declarations
without an empty line between them share the comment above the first; and destructors, copies, moves and assignments,
which behave alike in every class (docs/conventions.md), are left out.
"""
import re
import sys

SPECIAL = re.compile(r"^\s*(TALLOW_EXPORT |virtual |constexpr |explicit )*("
                     r"~\w+\(|(\w+)\((const )?\3(<\w+>)?&&?( \w+)?\)|[\w:<>]+& operator=\((const )?[\w:<>]+&)"
                     r".*(;|\{.*\})\s*(//.*)?$")
DECLARATION_END = re.compile(r"[;}]\s*(//.*)?$")


def file_comment(lines):
    """The lines of the comment at the top, as a comment of the file."""
    end = next((i for i, line in enumerate(lines) if not line.startswith("//")), len(lines))
    head = ["/// @file"] + ["/" + line for line in lines[:end]]
    return head, lines[end:]


def with_groups(lines):
    """Puts each documented run of declarations between @{ and @}, so that all of them get the comment of the first."""
    result, i = [], 0
    while i < len(lines):
        if not lines[i].lstrip().startswith("///") or "@file" in lines[i]:
            result.append(lines[i])
            i += 1
            continue
        begin = i
        while i < len(lines) and lines[i].lstrip().startswith("///"):
            i += 1
        comment, run, declarations = lines[begin:i], [], 0
        while i < len(lines) and lines[i].strip() and not lines[i].lstrip().startswith(("//", "#", "}")):
            run.append(lines[i])
            declarations += bool(DECLARATION_END.search(lines[i]))
            i += 1
        opens = any(line.rstrip().endswith("{") for line in run)
        indent = re.match(r" *", comment[0]).group()
        if declarations > 1 and not opens:
            result += [indent + "/// @{", *comment, *run, indent + "/// @}"]
        else:
            result += [*comment, *run]
    return result


def main():
    with open(sys.argv[1], encoding="utf-8") as header:
        lines = [line for line in header.read().splitlines() if not SPECIAL.match(line)]
    head, rest = file_comment(lines)
    for line in head + with_groups(rest):
        print(re.sub(r"^( *)///   ", r"\1///     ", line))


main()
