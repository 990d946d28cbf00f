#!/usr/bin/env python3
"""Workers on a queue of a real redis-server: one is killed, the server stops for a while, jobs always fail, and the
stream contains garbage. Every job has exactly one final result.

  fleet.py TALLOW
"""
import collections
import json
import os
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
NUM_JOBS = 90
RATE = 25  # checks a second, of all workers together
LIMIT = 120


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


class Place:
    """A PKI with its responder, a server for the queue, and the commands of a fleet."""

    def __init__(self, tallow, directory):
        self.tallow, self.directory, self.pki = tallow, directory, directory / "pki"
        subprocess.run([ROOT / "examples/pki/make-pki", self.pki], check=True, stdout=subprocess.DEVNULL)
        (self.pki / "settings.toml").touch()
        self.port = free_port()
        self.redis = subprocess.Popen(["redis-server", "--port", str(self.port), "--bind", "127.0.0.1", "--save", "",
                                       "--dir", directory], stdout=subprocess.DEVNULL)
        self.wait_for(lambda: self.ask("PING").strip() == "PONG")

    def wait_for(self, condition):
        end = time.monotonic() + LIMIT
        while not condition():
            assert time.monotonic() < end, "not in time"
            time.sleep(0.1)

    def ask(self, *words):
        return subprocess.run(["redis-cli", "-p", str(self.port), *words], text=True, capture_output=True,
                              timeout=LIMIT, check=False).stdout

    def command(self, name, *options):
        trust = ("--trust", "root.pem", "--crl", "root.crl") if name == "worker" else ()
        return [self.tallow, name, "--queue", f"redis://127.0.0.1:{self.port}/0", "--settings", "settings.toml", *trust,
                *options]

    def run(self, name, *options, text=None):
        return subprocess.run(self.command(name, *options), cwd=self.pki, text=True, capture_output=True, input=text,
                              timeout=LIMIT, check=False, env=dict(os.environ, HOME=str(self.pki)))

    def worker(self, name, *options):
        with (self.directory / f"{name}.log").open("w") as log:
            return subprocess.Popen(self.command("worker", "--name", name, "--jobs", "4", "--claim-after", "2", *options),
                                    cwd=self.pki, stdout=log, stderr=log, env=dict(os.environ, HOME=str(self.pki)))

    def log(self, name):
        return (self.directory / f"{name}.log").read_text()

    def results(self, *options):
        printed = self.run("results", *options)
        return [json.loads(line) for line in printed.stdout.splitlines()], printed


def lines():
    for i in range(NUM_JOBS):
        yield {"certificate": ("good.pem", "revoked.pem", "unknown.pem")[i % 3], "issuer": "ca.pem", "name": f"job {i}"}


def check_fleet(place):
    added = place.run("enqueue", "--run", "test", "--from-file", "-",
                      text="\n".join(json.dumps(line) for line in lines()) + "\nmissing.pem\n")
    assert added.returncode == 3 and added.stdout == f"test: {NUM_JOBS} added, 1 cannot be used\n", added
    assert added.stderr.startswith("tallow: missing.pem: cannot be opened: "), added.stderr
    begun = time.monotonic()
    workers = {name: place.worker(name, "--rate", str(RATE)) for name in ("a", "b", "c")}
    place.wait_for(lambda: int(place.ask("XLEN", "tallow:results")) >= 10)
    workers["a"].send_signal(signal.SIGKILL)
    place.redis.send_signal(signal.SIGSTOP)
    time.sleep(6)
    place.redis.send_signal(signal.SIGCONT)
    place.wait_for(lambda: int(place.ask("XLEN", "tallow:jobs") or 1) == 0)
    assert time.monotonic() - begun > NUM_JOBS / RATE - 1, "the rate holds for all workers together"
    assert "no answer in time; trying again" in place.log("b") and "answers again" in place.log("b"), place.log("b")
    found, printed = place.results()
    assert printed.returncode == 1, printed
    states = collections.Counter(one["result"]["status"] for one in found)
    assert states == {"good": NUM_JOBS / 3, "revoked": NUM_JOBS / 3, "unknown": NUM_JOBS / 3}, states
    assert sorted(one["job"] for one in found) == sorted(f"test-{i + 1}" for i in range(NUM_JOBS))
    assert {one["worker"] for one in found} >= {"b", "c"}
    file = place.directory / "lines.jsonl"
    file.write_text(printed.stdout + "".join(json.dumps(one["result"]) + "\n" for one in found))
    valid = subprocess.run([sys.executable, ROOT / "tests/cli/validate_json.py", ROOT / "cli/schemas", file], text=True,
                           capture_output=True, check=False)
    assert valid.returncode == 0, valid.stdout + valid.stderr
    # Once more under the same name: no second result.
    place.run("enqueue", "--run", "test", "--from-file", "-", text='{"certificate": "good.pem"}\n')
    place.wait_for(lambda: int(place.ask("XLEN", "tallow:jobs")) == 0)
    assert len(place.results()[0]) == NUM_JOBS
    assert len(place.results("--remove")[0]) == NUM_JOBS and place.ask("XLEN", "tallow:results") == "0\n"
    for name in ("b", "c"):
        workers[name].send_signal(signal.SIGTERM)
        assert workers[name].wait(LIMIT) == 0, place.log(name)


def check_hostile_jobs(place):
    dead = f"http://127.0.0.1:{free_port()}/"
    place.run("enqueue", "--run", "dead", "--from-file", "-",
              text=json.dumps({"certificate": "good.pem", "issuer": "ca.pem", "url": dead}))
    garbage = [("x", "y"), ("id", "1", "job", "garbage"), ("id", "2", "job", '{"certificate": "/etc/passwd"}'),
               ("id", "3", "job", "[" * 100000), ("id", "../4", "job", "{}"), ("id", "5", "job", '{"certificate": ""}'),
               ("id", "6", "job", '{"certificate": "-----BEGIN CERTIFICATE-----\\nAAAA\\n-----END CERTIFICATE-----"}')]
    for fields in garbage:
        place.ask("XADD", "tallow:jobs", "*", *fields)
    place.ask("XADD", "tallow:results", "*", "id", "7", "result", '{"schema": "\x1b[31m"}')
    worker = place.worker("d", "--until-empty")
    assert worker.wait(LIMIT) == 0, place.log("d")
    found, printed = place.results()
    assert printed.returncode == 3 and "1 entries are no results" in printed.stderr, printed
    assert all(one["result"]["status"] == "error" for one in found) and len(found) == len(garbage) + 1, found
    assert "root:" not in printed.stdout
    letters = place.results("--dead")[0]
    assert [(one["job"], one["attempts"]) for one in letters] == [("dead-1", 3)], letters
    refused = place.run("enqueue", "--run", "no/run", "--from-file", "-", text="")
    assert refused.returncode == 64 and refused.stderr.count("\n") == 1, refused


def main():
    if shutil.which("redis-server") is None:
        print("skipped: redis-server is not installed")
        return 0
    with tempfile.TemporaryDirectory() as directory:
        place = Place(str(Path(sys.argv[1]).resolve()), Path(directory))
        try:
            check_fleet(place)
            check_hostile_jobs(place)
        finally:
            place.redis.kill()
            place.redis.wait()
            subprocess.run([place.pki / "stop"], check=False)
    return 0


sys.exit(main())
