#!/usr/bin/env python3
"""Compares documents with the code: samples, the page of statuses, the settings, links and paths."""
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


def unindented(code):
    return "".join(f"{line.strip()}\n" for line in code.splitlines())


def samples_without_example(document):
    """The code that a document shows must be part of an example, which is built, or of docs/python.md, which is run."""
    tested = [*(ROOT / "examples").glob("*.c*"), ROOT / "docs/python.md"]
    examples = "".join(unindented(path.read_text()) for path in tested)
    shown = re.findall(r"```(?:cpp|c|python)\n(.*?)```", (ROOT / document).read_text(), re.S)
    samples = [unindented(code) for code in shown]
    missing = [f"{document}: no example contains: {code.splitlines()[0]}" for code in samples if code not in examples]
    return missing if samples else [f"{document}: shows no code"]


def sample_of_c_header():
    """So must the code at the top of the header for C."""
    header = (ROOT / "checker/checker_c.h").read_text()
    sample = re.search(r"(?:^//   .*\n)+", header, re.M)[0].replace("//   ", "    ")
    return [] if sample in (ROOT / "examples/check.c").read_text() else ["checker_c.h: its sample is not part of check.c"]


def functions_without_manual_page():
    headers = "".join((ROOT / path).read_text() for path in ("checker/checker_c.h", "client/flat/ocsp_client.h"))
    declared = set(re.findall(r"^TALLOW_[A-Z_ ]+[\w ]+?[ *]+(\w+)\(", headers.replace("struct ", ""), re.M))
    listed = {name for page in (ROOT / "man").glob("*.3.scd")
              for name in re.findall(r"\w+", page.read_text().split("# NAME")[1].split(" - ")[0])}
    return [f"man: no page of section 3 lists {name}" for name in sorted(declared - listed)] + \
        [f"man: {name} is not declared for C" for name in sorted(listed - declared)]


def unknown_metrics():
    """Metrics in the alerts, the dashboard and the document that the command does not write."""
    written = set(re.findall(r'"(tallow_\w+)"', (ROOT / "cli/metrics.cpp").read_text()))
    for path in [*(ROOT / "examples/monitoring").iterdir(), ROOT / "docs/monitoring.md"]:
        used = set(re.findall(r"\btallow_\w+", path.read_text()))
        yield from (f"{path.name}: no metric is called {name}" for name in sorted(used - written))


def main():
    errors = [*samples_without_example("README.md"), *samples_without_example("docs/embedding.md"),
              *sample_of_c_header(), *functions_without_manual_page(), *outdated("update-errors"),
              *outdated("update-settings"), *settings_problems(), *paths_of_one_machine(),
              *unknown_metrics()]
    for document in [*sorted((ROOT / "docs").glob("*.md")), *sorted(ROOT.glob("*.md"))]:
        if len(document.read_text().splitlines()) > LONGEST_PAGE:
            errors.append(f"{document.name}: longer than {LONGEST_PAGE} lines")
        for target in re.findall(r"\]\(([^)#:]+)\)", document.read_text()):
            if not (document.parent / target).exists():
                errors.append(f"{document.name}: leads to {target}, which does not exist")
    print("\n".join(errors))
    return 1 if errors else 0


sys.exit(main())
