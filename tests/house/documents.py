#!/usr/bin/env python3
"""Compares documents with the code: the samples of the README, the page of statuses, the settings, links and paths."""
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
LONGEST_PAGE = 250


def settings_problems():
    """Settings that a table declares and no source reads, and those that a source reads past the tables."""
    tables = "".join(path.read_text() for path in ROOT.glob("[cp]*/*/*settings*.inc"))
    unread = set(re.findall(r'^TALLOW_(?:POLICY_)?SETTING\("[\w.]+", (\w+)', tables, re.M))
    for path in [*ROOT.glob("client/**/*.cpp"), *ROOT.glob("platform/**/*.cpp")]:
        text = path.read_text()
        unread -= set(re.findall(r"settings?::(\w+)", text))
        yield from (f"{path}: reads {key} past the tables of settings" for key in re.findall(r'"\\\\[\w\\]+\w"', text))
    yield from (f"{key}: no source reads this setting" for key in sorted(unread))


def outdated(script):
    result = subprocess.run([ROOT / "scripts" / script, "--check"], text=True, capture_output=True, check=False)
    return [] if result.returncode == 0 else [(result.stdout + result.stderr).strip()]


def paths_of_one_machine():
    """Directories that only the machine of a developer has."""
    found = subprocess.run(["git", "grep", "-nIE", "(^|[^[:alnum:]_])/(home|tmp|work)/", "--", ":!tests"], cwd=ROOT,
                           text=True, capture_output=True, check=False)
    return [f"{line}: names a path of one machine" for line in found.stdout.splitlines()]


def samples_of_readme():
    """The code in the README must be part of an example, which is built."""
    examples = "".join(path.read_text() for path in (ROOT / "examples").glob("*.c*"))
    samples = re.findall(r"```(?:cpp|c)\n(.*?)```", (ROOT / "README.md").read_text(), re.S)
    missing = [f"README.md: no example contains: {sample.splitlines()[-2]}" for sample in samples if sample not in examples]
    return missing if samples else ["README.md: shows no code"]


def main():
    errors = [*samples_of_readme(), *outdated("update-errors"), *outdated("update-settings"), *settings_problems(),
              *paths_of_one_machine()]
    for document in [*sorted((ROOT / "docs").glob("*.md")), ROOT / "README.md"]:
        if len(document.read_text().splitlines()) > LONGEST_PAGE:
            errors.append(f"{document.name}: longer than {LONGEST_PAGE} lines")
        for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
            if not (document.parent / target).exists():
                errors.append(f"{document.name}: leads to {target}, which does not exist")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
