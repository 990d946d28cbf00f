#!/usr/bin/env python3
"""Shows the command servers and proxies that misbehave in every way known, and compares what it says with the tables.

  prove.py --command FILE [--seed N] [--cases N] [--minutes N] [--quick] [--jobs N] [--case N] [--findings DIR] [--list]

A case is a row of rows_*.py. Eight rows run at a time for each of the --jobs, since most of them wait. --seed changes
their order. --quick leaves out `slow` rows and ends after about a minute. The last line is the summary; the exit status
is 1 with findings.
"""
import sys

sys.dont_write_bytecode = True  # a run leaves nothing in the sources

import argparse
import collections
import concurrent.futures
import dataclasses
import multiprocessing
import random
import re
import resource
import shutil
import tempfile
import time
from pathlib import Path

import rows_bodies
import rows_connections
import rows_downloads
import rows_heads
import rows_proxies
import rows_redirects
import rows_tls
from bench import Bench
from pki import Pki
from real_proxies import RealProxies
from row import BODY, GOOD, HEAD, Row, says
from timer import Timer

ROOT = Path(__file__).resolve().parents[2]
ROWS_FOR_EACH_JOB = 8
QUICK_MINUTES = 0.8
TRIES_OF_LATE_ROWS = 3
TABLES = (rows_heads, rows_bodies, rows_redirects, rows_connections, rows_tls, rows_downloads, rows_proxies)


@dataclasses.dataclass
class Materials:
    """What all rows share, made before the workers are forked."""
    command: Path
    pki: Pki
    statuses: dict          # symbols by code, of docs/errors.md
    overhead: float = 0.0   # processor time of a run without a fault, in seconds
    timer: Timer = None
    rows: list = None


@dataclasses.dataclass
class Result:
    number: int
    problems: list
    files: dict
    late: float

    @property
    def is_only_late(self):
        return bool(self.problems) and all(" after the time limit of " in problem for problem in self.problems)


shared = None  # Materials; the workers inherit it


def documented_statuses():
    page = (ROOT / "docs/errors.md").read_text()
    return {code: symbol for code, symbol in re.findall(r"^\| (0x[0-9A-F]{8})<br>`(\w+)`", page, re.M)}


def run_case(number):
    row = shared.rows[number]
    with tempfile.TemporaryDirectory(prefix="tallow-http") as folder:
        bench = Bench(row, shared, Path(folder), shared.timer)
        try:
            bench.run_row()
        except Exception as failure:  # pylint: disable=broad-except
            bench.problem(f"the driver failed: {failure!r}")
        return Result(number, bench.problems, bench.files() if bench.problems else {}, bench.late)


def overhead_of_a_run():
    """Processor time of `check` beside the exchange: start, verification, output."""
    row = Row("start", says(HEAD, BODY), GOOD)
    with tempfile.TemporaryDirectory(prefix="tallow-http") as folder:
        bench = Bench(row, shared, Path(folder), shared.timer)
        bench.run_row()
        if bench.problems:
            raise SystemExit("prove_http: a good response is not accepted: " + bench.problems[0])
        return max(run.computed for run in bench.runs)


def write_finding(folder, row, result, options):
    folder.mkdir(parents=True, exist_ok=True)
    for name, content in result.files.items():
        (folder / name).write_text(content)
    (folder / "command").write_text(f"python3 proof/http/prove.py --command {options.command} --case {result.number}\n")
    (folder / "README").write_text("\n".join([f"{row.group}: {row.name}", "", *result.problems]) +
                                   f"\n\ncase {result.number}, seed {options.seed}\n")


def parsed_options():
    parser = argparse.ArgumentParser(prog="prove_http")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--cases", type=int)
    parser.add_argument("--minutes", type=float)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--case", type=int)
    parser.add_argument("--findings", default="proof-findings")
    parser.add_argument("--command", type=Path)
    parser.add_argument("--list", action="store_true")
    return parser.parse_args()


def chosen(options, rows):
    if options.case is not None:
        return [options.case]
    numbers = [number for number, row in enumerate(rows) if not (options.quick and row.slow)]
    random.Random(options.seed).shuffle(numbers)
    return numbers[:options.cases]


def run_cases(numbers, options):
    """Yields the result of each case; after --minutes no further one begins."""
    minutes = options.minutes or (QUICK_MINUTES if options.quick else float("inf"))
    end = time.monotonic() + 60 * minutes
    waiting = collections.deque(numbers)
    with concurrent.futures.ProcessPoolExecutor(options.jobs * ROWS_FOR_EACH_JOB,
                                                multiprocessing.get_context("fork")) as pool:
        running = set()
        while running or waiting:
            while waiting and len(running) < options.jobs * ROWS_FOR_EACH_JOB:
                number = waiting.popleft()
                if time.monotonic() < end:
                    running.add(pool.submit(run_case, number))
            done, running = concurrent.futures.wait(running, return_when=concurrent.futures.FIRST_COMPLETED)
            yield from (future.result() for future in done)


def patient_results(numbers, options):
    """As run_cases; a row that was only late, as on a busy machine, runs again when no other one does."""
    late = []
    for result in run_cases(numbers, options):
        if result.is_only_late:
            late.append(result)
        else:
            yield result
    if late:
        print(f"{len(late):12}  rows were late, and run again", flush=True)
    for result in late:
        for _ in range(TRIES_OF_LATE_ROWS):
            if result.is_only_late:
                result = run_case(result.number)
        yield result


def report(options, rows, proxies):
    start = time.monotonic()
    findings, done, latest = 0, 0, 0.0
    counts = collections.Counter()
    for result in patient_results(chosen(options, rows), options):
        row = rows[result.number]
        done += 1
        latest = max(latest, result.late)
        what = "must be accepted" if row.is_accepted else "must end in an error"
        counts[f"{row.group}: {what}"] += 1
        if result.problems:
            findings += 1
            folder = Path(options.findings) / f"http-{findings}"
            write_finding(folder, row, result, options)
            print(f"finding {folder}: {row.group}: {row.name}: {'; '.join(result.problems)}", flush=True)
    for missing in proxies.missing:
        findings += 1
        print(f"finding: {missing} is not installed, so its rows did not run (scripts/install-dependencies proxies)")
    for name, number in counts.items():
        print(f"{number:12}  {name}")
    print(f"{1000 * max(latest, 0):12.0f}  ms after its time limit, at most, ended a run")
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    print(f"http: {done} cases, {findings} findings, {time.monotonic() - start:.0f} s "
          f"({usage.ru_utime + usage.ru_stime:.0f} s of processor time), seed {options.seed}")
    return 0 if findings == 0 and done > 0 else 1


def main():
    global shared
    options = parsed_options()
    if not options.list and (not options.command or not options.command.exists()):
        print("prove_http: --command names no file", file=sys.stderr)
        return 2
    if options.case is None:
        for old in Path(options.findings).glob("http-*"):
            shutil.rmtree(old)
    shared = Materials((options.command or Path()).resolve(), Pki(), documented_statuses())
    with RealProxies() as proxies:
        rows = [row for table in TABLES for row in table.ROWS] + proxies.rows()
        if options.list:
            for number, row in enumerate(rows):
                print(f"{number:4} {row.group:12} {row.name}: {row.expected}")
            return 0
        shared.rows = rows
        with Timer() as shared.timer:
            shared.overhead = overhead_of_a_run()
            return report(options, rows, proxies)


if __name__ == "__main__":
    sys.exit(main())
