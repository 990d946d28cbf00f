#!/usr/bin/env python3
"""Runs the commands of every document, and compares what they print with what the document shows.

  run_documents.py TALLOW [--update] [DOCUMENT...]

A block that begins with ```console holds commands after "$ ", each with its output. A document runs from top to bottom
in a new directory of examples/pki/make-pki. Dates, ports and durations may differ, and a line "..." stands for any
lines. A command that shows no output must succeed. --update writes what was printed into the document.
"""
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BLOCK = re.compile(r"^```console\n(.*?)^```$", re.M | re.S)
COMMAND_SECONDS = 60
CHANGING = [
    (re.compile(r"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}Z"), "DATE"),
    (re.compile(r"(127\.0\.0\.1|localhost):\d+"), r"\1:PORT"),
    (re.compile(r"\b\d+ ms\b|(?<=\"milliseconds\": )\d+"), "TIME"),
    (re.compile(r"\b((?:\d+\.)?\d+ (?:days?|h|hours?|min|minutes?|s|seconds?)\b ?)+"), "SPAN "),
    (re.compile(r"=\d+(\.\d+)?s\b"), "=SECONDS"),
    (re.compile(r"\b[0-9A-Fa-f]{32,}\b"), "OCTETS"),
    (re.compile(r"\b\d+ octets\b"), "SIZE"),
    (re.compile(r"[ \t]+$", re.M), ""),
]


def normal(text):
    for pattern, name in CHANGING:
        text = pattern.sub(name, text)
    return text.strip("\n")


def matches(shown, printed):
    parts = re.split(r"^\.\.\.$", normal(shown), flags=re.M)
    return re.fullmatch(".*".join(re.escape(part.strip("\n")).join(["\n?", "\n?"]) for part in parts),
                        normal(printed), re.S) is not None


def commands_of(block):
    """Yields each command, which a backslash continues on the next line, with the output that is shown."""
    command, output = None, []
    for line in block.splitlines():
        if command is not None and command.endswith("\\"):
            command += "\n" + line
        elif line.startswith("$ "):
            if command is not None:
                yield command, "\n".join(output)
            command, output = line[2:], []
        else:
            output.append(line)
    if command is not None:
        yield command, "\n".join(output)


class Runner:
    def __init__(self, tallow, directory):
        self.directory = directory
        self.environment = dict(os.environ, PATH=f"{tallow.parent}:{os.environ['PATH']}", HOME=str(directory),
                                TALLOW=str(ROOT), LC_ALL="C.UTF-8")
        for name in ("XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME"):
            self.environment.pop(name, None)

    def run(self, command):
        return subprocess.run(["bash", "-c", command], cwd=self.directory, env=self.environment, text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              timeout=COMMAND_SECONDS, check=False)


def run_document(path, tallow, update):
    """The number of commands that ran, and those that differ from the document."""
    text = path.read_text()
    if not BLOCK.search(text):
        return 0, []
    count, wrong = 0, []
    with tempfile.TemporaryDirectory() as work:
        directory = Path(work) / "pki"
        subprocess.run([ROOT / "examples/pki/make-pki", directory], stdout=subprocess.DEVNULL, check=True)
        runner = Runner(tallow, directory)
        try:
            for block in BLOCK.findall(text):
                written = ""
                for command, shown in commands_of(block):
                    count += 1
                    result = runner.run(command)
                    same = matches(shown, result.stdout) if shown.strip() else result.returncode == 0
                    if not same:
                        wrong.append(f"{path.name}: $ {command}\nexit status {result.returncode}, printed:\n"
                                     f"{result.stdout}shown:\n{shown}\n")
                    printed = shown if same or not shown.strip() else result.stdout.rstrip("\n")
                    written += f"$ {command}\n" + (printed + "\n" if printed else "")
                if update:
                    text = text.replace(f"```console\n{block}```", f"```console\n{written}```")
        finally:
            subprocess.run([directory / "stop"], check=False)
    if update:
        path.write_text(text)
    return count, wrong


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--update"]
    tallow = Path(arguments[0]).resolve()
    documents = [Path(name).resolve() for name in arguments[1:]] or [ROOT / "README.md", *sorted(ROOT.glob("docs/*.md"))]
    total, all_wrong = 0, []
    for path in documents:
        count, wrong = run_document(path, tallow, "--update" in sys.argv)
        total += count
        all_wrong += wrong
    print("\n".join(all_wrong) + f"{total} commands, {len(all_wrong)} differ from their document")
    return 1 if all_wrong or total == 0 else 0


sys.exit(main())
