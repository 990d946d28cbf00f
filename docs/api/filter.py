#!/usr/bin/env python3
"""Prints a public header as Doxygen is to read it.

The comment at the top describes the file, and a class that has no comment. Every comment directly above or behind a
declaration describes it, and declarations without an empty line between them share the comment above the first. Code in
comments, indented by three columns, becomes Markdown's. Destructors, copies, moves and assignments, which behave alike
in every class, inherited constructors and explicit instantiations are left out.
"""
import re
import sys

SPECIAL = re.compile(r"^extern template |.* header\(\) const noexcept |^\s*using (\w+)::\1;|"
                     r"^\s*(TALLOW_EXPORT |virtual |constexpr |explicit )*("
                     r"~\w+\(|(\w+)\((const )?\4(<\w+>)?&&?( \w+)?\)|[\w:<>]+& operator=\((const )?[\w:<>]+&)"
                     r".*(;|\{.*\})\s*(//.*)?$")
COMPOUND = re.compile(r"^\s*(typedef )?(class|struct|union|enum( class)?) [^;]*\{$")
TOP_CLASS = re.compile(r"^(template <.*> )?(class|struct) [^;]*\{$")
TRAILING = re.compile(r"^(\s*[^/\s].*[;,{}] *|\s*\w+ *)//(?!/)(.*)$")
END = re.compile(r"[;}]\s*(//.*)?$")
OTHERS = ("}", "//", "#include", "#if", "#end", "#el", "namespace")
NO_COMMENT = re.compile(r"^\s*//(/| NOLINT| ----)")


def file_comment(lines):
    """The text of the comment at the top, and the other lines."""
    end = next((i for i, line in enumerate(lines) if not line.startswith("//")), len(lines))
    return [line[2:] for line in lines[:end]], lines[end:]


def is_comment(line):
    return line.lstrip().startswith("///")


def with_marks(lines):
    """Turns comments of declarations into those that Doxygen reads."""
    result, block, column = [], [], None
    for line in lines:
        stripped = line.lstrip()
        trailing = TRAILING.match(line)
        if stripped.startswith("//") and column == len(line) - len(stripped):
            result.append(line.replace("//", "///<", 1))  # goes on from the line above
        elif stripped.startswith("//") and not NO_COMMENT.match(line):
            block.append(line)
        else:
            described = stripped and not stripped.startswith(OTHERS)
            result += [re.sub("//", "///", old, count=1) if described else old for old in block]
            block, column = [], None
            if trailing and "NOLINT" not in line:
                column = line.index("//")
                line = f"{trailing[1]}///<{trailing[2]}"
            result.append(line)
    return result + block


def with_shared_comments(lines, about_file):
    """Gives a comment to what has none: that of the file to a class, that of the first declaration to the others."""
    result, i, last = [], 0, None
    while i < len(lines):
        line = lines[i]
        if TOP_CLASS.match(line) and not (result and is_comment(result[-1])):
            result += last if last and result[-1].startswith("};") else ["///" + text for text in about_file]
        if not is_comment(line) or "///<" in line:
            result.append(line)
            i += 1
            continue
        begin = i
        while i < len(lines) and is_comment(lines[i]):
            i += 1
        comment, run, declarations = lines[begin:i], [], 0
        while i < len(lines) and lines[i].strip() and not lines[i].lstrip().startswith(("//", "#", "}")):
            run.append(lines[i])
            declarations += bool(END.search(lines[i]))
            i += 1
        if any(COMPOUND.match(text) for text in run):
            last = comment
        if declarations > 1 and not any(text.rstrip().endswith("{") for text in run):
            indent = re.match(r" *", comment[0]).group()
            result += [indent + "/// @{", *comment, *run, indent + "/// @}"]
        else:
            result += [*comment, *run]
    return result


def main():
    with open(sys.argv[1], encoding="utf-8") as header:
        lines = [line for line in header.read().splitlines() if not SPECIAL.match(line)]
    about_file, rest = file_comment(lines)
    described = with_shared_comments(with_marks(rest), about_file)
    for line in ["/// @file", *("///" + text for text in about_file), *described]:
        if "//" in line:
            code, slashes, comment = line.partition("//")
            line = code + slashes + re.sub(r"\\(?=[\w\\])", r"\\\\", comment)
        print(re.sub(r"^( *)///   ", r"\1///     ", line))


main()
