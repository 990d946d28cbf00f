#!/usr/bin/env python3
"""Compares what bash and zsh offer after each command with the options in its help page; zsh only where it is installed.

  completion.py build/release/cli/tallow
"""
import re
import shutil
import subprocess
import sys
from pathlib import Path

COMPLETIONS = Path(__file__).resolve().parents[2] / "completions"
COMMANDS = ("", "check", "request", "send", "verify", "verify-request", "staple", "enqueue", "worker", "results",
            "show", "store", "store list", "store add", "store remove", "settings", "explain", "help")
# bash: the words that _tallow puts into COMPREPLY for the last argument.
BASH = '. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _tallow; printf "%s\n" "${COMPREPLY[@]}"'
# zsh: the specifications that the script passes to the completion system, whose functions are replaced.
ZSH = """_arguments() { print -rl -- "$@" }; _describe() { print -rl -- $commands '--version' '--help' }
_values() { print -rl -- '--version' '--help' }; file=$1; shift; words=("$@"); CURRENT=$#; . $file"""


def run(*command):
    return subprocess.run(command, text=True, capture_output=True, check=True, timeout=30).stdout


def options_in(text):
    return set(re.findall(r"(?<![\w-])--[a-z][a-z-]*", text))


def main():
    tallow = sys.argv[1]
    errors = []
    for command in COMMANDS:
        words = command.split()
        lines = [line for line in run(tallow, *words, "--help").splitlines() if re.match(r"  ?-", line)]
        expected = options_in("\n".join(line[:26] if len(line) > 26 and line[25] == " " else line for line in lines))
        offers = {"bash": run("bash", "-c", BASH, "bash", COMPLETIONS / "tallow.bash", "tallow", *words, "--")}
        if shutil.which("zsh"):
            specs = run("zsh", "-fc", ZSH, "zsh", COMPLETIONS / "_tallow", "tallow", *words, "")
            # The name of an option is what precedes its description.
            offers["zsh"] = "\n".join(re.sub(r"^\([^)]*\)", "", line).split("[")[0] for line in specs.splitlines())
        for shell, offered in offers.items():
            for option in sorted(options_in(offered) ^ expected):
                kind = "lacks" if option in expected else "offers the unknown"
                errors.append(f"{shell}: tallow {command}: the completion {kind} {option}")
    # Values, and words of a command line that bash splits at the sign =.
    for words, offered in ((("check", "--nonce", "o"), "off"), (("check", "--nonce", "=", "r"), "require"),
                           (("store", "add", "R"), "ROOT"), (("explain", "NotCur"), "NotCurrent"), (("ver",), "verify")):
        found = run("bash", "-c", BASH, "bash", COMPLETIONS / "tallow.bash", tallow, *words).split()
        if offered not in found:
            errors.append(f"bash: {' '.join(words)}: offers {found}, not {offered}")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
