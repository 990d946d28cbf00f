#!/usr/bin/env python3
"""Workers on a queue of a real redis-server: they are killed, the server stops for a while, jobs always fail, the stream
contains garbage, the server has no memory left, and its clock is set. Every job has exactly one final result.

  fleet.py TALLOW SHIFTED-CLOCK
"""
import collections
import json
import os
import re
import resource
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

    def __init__(self, tallow, shifted_clock, directory):
        self.tallow, self.directory, self.pki = tallow, directory, directory / "pki"
        self.clock = directory / "clock"
        self.set_clock(0)
        self.server_environment = dict(os.environ, LD_PRELOAD=shifted_clock, SHIFTED_CLOCK=str(self.clock))
        subprocess.run([ROOT / "examples/pki/make-pki", self.pki], check=True, stdout=subprocess.DEVNULL)
        (self.pki / "settings.toml").touch()
        (self.pki / "list").write_text("good.pem\nunknown.pem\n")
        self.port = free_port()
        self.servers = []
        self.redis = self.serve("--port", str(self.port))
        self.wait_for(lambda: self.ask("PING").strip() == "PONG")

    def serve(self, *options):
        self.servers.append(subprocess.Popen(["redis-server", "--bind", "127.0.0.1", "--save", "", "--dir",
                                              self.directory, *options], stdout=subprocess.DEVNULL,
                                             env=self.server_environment))
        return self.servers[-1]

    def set_clock(self, seconds):
        """Of the servers; in one step, so that they never read half a number."""
        (self.directory / "clock.new").write_text(str(seconds))
        (self.directory / "clock.new").rename(self.clock)

    def wait_for(self, condition):
        end = time.monotonic() + LIMIT
        while not condition():
            assert time.monotonic() < end, "not in time"
            time.sleep(0.1)

    def ask(self, *words):
        return subprocess.run(["redis-cli", "-p", str(self.port), *words], text=True, capture_output=True,
                              timeout=LIMIT, check=False).stdout

    def command(self, name, *options, queue=()):
        trust = ("--trust", "root.pem", "--crl", "root.crl") if name in ("worker", "check") else ()
        queue = ["--queue", *(queue or [f"redis://127.0.0.1:{self.port}/0"])] if name != "check" else []
        return [self.tallow, name, "--settings", "settings.toml", *trust, *queue, *options]

    def begin(self, name, *options, **more):
        return subprocess.Popen(self.command(name, *options, **more), cwd=self.pki, text=True, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, env=dict(os.environ, HOME=str(self.pki)))

    def run(self, name, *options, text=None):
        return subprocess.run(self.command(name, *options), cwd=self.pki, text=True, capture_output=True, input=text,
                              timeout=LIMIT, check=False, env=dict(os.environ, HOME=str(self.pki)))

    def worker(self, name, *options, **more):
        for option, value in (("--jobs", "4"), ("--claim-after", "2")):
            options += () if option in options else (option, value)
        with (self.directory / f"{name}.log").open("w") as log:
            return subprocess.Popen(self.command("worker", "--name", name, *options), cwd=self.pki, stdout=log, stderr=log, env=dict(os.environ, HOME=str(self.pki)),
                                    **more)

    def end(self, worker, name):
        assert worker.wait(LIMIT) == 0, self.log(name)

    def enqueue(self, run, *jobs):
        added = self.run("enqueue", "--run", run, "--from-file", "-", text="\n".join(map(json.dumps, jobs)))
        assert added.returncode == 0, added
        return added.stdout

    def owners(self):
        """The consumers that have jobs, without what follows the name of a worker."""
        return {line.split("/")[0] for line in self.ask("XPENDING", "tallow:jobs", "workers", "-", "+", "9").split("\n")[1::4]}

    def consumers(self):
        lines = self.ask("XINFO", "CONSUMERS", "tallow:jobs", "workers").split("\n")
        return {value.split("/")[0] for key, value in zip(lines[::2], lines[1::2]) if key == "name"}

    def log(self, name):
        return (self.directory / f"{name}.log").read_text()

    def results(self, *options):
        printed = self.run("results", *options)
        return [json.loads(line) for line in printed.stdout.splitlines()], printed


def lines():
    for i in range(NUM_JOBS):
        yield {"certificate": ("good.pem", "revoked.pem", "unknown.pem")[i % 3], "issuer": "ca.pem", "name": f"job {i} " + "{" * 20}


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
    assert sorted(map(place_of, found)) == sorted(f"test-{i + 1}" for i in range(NUM_JOBS))
    assert {one["worker"] for one in found} >= {"b", "c"}
    file = place.directory / "lines.jsonl"
    file.write_text(printed.stdout + "".join(json.dumps(one["result"]) + "\n" for one in found))
    valid = subprocess.run([sys.executable, ROOT / "tests/cli/validate_json.py", ROOT / "cli/schemas", file], text=True,
                           capture_output=True, check=False)
    assert valid.returncode == 0, valid.stdout + valid.stderr
    # Once more under the same name: no second result, whether or not the job is added; but for another certificate.
    assert place.enqueue("test", next(lines())) == "test: 0 added, 1 have their result already\n"
    place.ask("XADD", "tallow:jobs", "*", "id", found[0]["job"], "job", "{}")
    assert place.enqueue("test", {"certificate": "revoked.pem", "issuer": "ca.pem"}) == "test: 1 added\n"
    place.wait_for(lambda: int(place.ask("XLEN", "tallow:jobs")) == 0)
    assert len(place.results("--run", "test")[0]) == NUM_JOBS + 1
    assert len(place.results("--remove")[0]) == NUM_JOBS + 1 and place.ask("XLEN", "tallow:results") == "0\n"
    for name in ("b", "c"):
        workers[name].send_signal(signal.SIGTERM)
        place.end(workers[name], name)


def place_of(result):
    """The run and the line, without the digest of the job."""
    return result["job"].rsplit(".", 1)[0]


GOOD = {"certificate": "good.pem", "issuer": "ca.pem"}


def check_takeovers(place):
    """Only a failed check and a worker that ended count as an attempt."""
    place.enqueue("slow", GOOD)
    place.ask("XGROUP", "CREATE", "tallow:jobs", "workers", "0")
    for _ in range(4):  # deliveries that were lost on the way to a worker that is there
        place.ask("XREADGROUP", "GROUP", "workers", "there", "COUNT", "1", "STREAMS", "tallow:jobs", ">")
        entry = place.ask("XPENDING", "tallow:jobs", "workers", "-", "+", "1").split("\n")[0]
        place.ask("XCLAIM", "tallow:jobs", "workers", "there", "0", entry)
    worker = place.worker("e", "--until-empty")
    place.wait_for(lambda: place.ask("SET", "tallow:alive:there", "1", "PX", "2000") and worker.poll() is not None)
    place.end(worker, "e")
    found = place.results("--remove")[0]
    assert [(one["attempts"], one["result"]["status"]) for one in found] == [(1, "good")], found
    with socket.create_server(("127.0.0.1", 0)) as silent:
        place.enqueue("crash", {**GOOD, "url": f"http://127.0.0.1:{silent.getsockname()[1]}/"})
        for name in ("f", "g", "h"):
            worker = place.worker(name)
            place.wait_for(lambda name=name: place.owners() == {name})
            other = place.worker("other")  # long checks stay with their worker
            time.sleep(4)
            assert place.owners() == {name}, place.owners()
            other.send_signal(signal.SIGTERM)
            place.end(other, "other")
            worker.kill()
            worker.wait()
        place.end(place.worker("i", "--until-empty"), "i")
    letters = place.results("--dead")[0]
    assert [(place_of(one), one["attempts"]) for one in letters] == [("crash-1", 3)] and place.ask("DEL", "tallow:dead"), letters
    assert "a worker ended" in letters[0]["result"]["error"]["text"], letters
    assert not place.ask("HGETALL", "tallow:tries").strip(), place.ask("HGETALL", "tallow:tries")
    assert len(place.results("--remove")[0]) == 1


def check_ending(place):
    """What was not begun is given back at once; and jobs without a result are counted by run."""
    place.enqueue("end", *[GOOD] * 12)
    place.enqueue("another", GOOD)
    for run, count in (("end", 12), ("another", 1), ("third", 0)):
        note = f"tallow: jobs of the run {run} without a result so far: {count}\n"
        assert (note in place.results("--run", run)[1].stderr) == (count != 0), place.results("--run", run)
    assert "jobs of all runs without a result so far: 13\n" in place.results()[1].stderr
    begun = time.monotonic()
    worker = place.worker("j", "--rate", "1", "--claim-after", "600", "--jobs", "9")
    place.wait_for(lambda: place.owners() == {"j"} and int(place.ask("XLEN", "tallow:results")) > 0)
    worker.send_signal(signal.SIGTERM)
    place.end(worker, "j")
    assert place.owners() == {"+waiting"}, place.owners()
    assert "j" not in place.consumers()
    place.end(place.worker("k", "--until-empty", "--claim-after", "4"), "k")
    found = place.results("--remove")[0]
    assert len(found) == 13 and {one["attempts"] for one in found} == {1} and time.monotonic() - begun < 60, found
    assert place.ask("EXISTS", "tallow:open") == "0\n", place.ask("HGETALL", "tallow:open")


def check_identifiers(place):
    """Only with the issuer that they fit, so that the answer is proven."""
    def asked(command, name):
        text = subprocess.run([*command, "-in" if "x509" in command else "-cert", f"{name}.pem"], cwd=place.pki, text=True,
                              capture_output=True, check=True).stdout
        return dict(re.findall(r"(\w[\w ]+): (.*)", text)) if "ocsp" in command else text.strip()

    def line(name, issuer="ca.pem"):
        found = asked(["openssl", "ocsp", "-issuer", "ca.pem", "-sha256", "-no_nonce", "-req_text"], name)
        return {"hash": "sha256", "issuerNameHash": found["Issuer Name Hash"], "issuerKeyHash": found["Issuer Key Hash"],
                "serial": found["Serial Number"], "issuer": issuer, "name": name,
                "url": asked(["openssl", "x509", "-noout", "-ocsp_uri"], name)}

    lines_ = "\n".join(map(json.dumps, (line("good"), line("revoked"), line("good", "root.pem"))))
    added = place.run("enqueue", "--run", "id", "--from-file", "-", text=lines_)
    assert added.stdout == "id: 2 added, 1 cannot be used\n" and "does not fit" in added.stderr, added
    job = {**line("good"), "issuer": (place.pki / "root.pem").read_text()}
    place.ask("XADD", "tallow:jobs", "*", "id", "other-issuer", "job", json.dumps(job))
    place.end(place.worker("m", "--until-empty"), "m")
    found = {place_of(one): (one["result"]["status"], one["attempts"]) for one in place.results("--remove")[0]}
    assert found == {"id-1": ("good", 1), "id-2": ("revoked", 1), "other-issuer": ("error", 1)}, found
    checked = place.run("check", "--from-file", "-", "--jsonl", text=lines_)
    assert sorted(json.loads(one)["status"] for one in checked.stdout.splitlines()) == ["error", "good", "revoked"], checked


def check_limits(place):
    """A full queue, a server without memory, and few descriptors are reported, and nothing is lost."""
    place.ask("EVAL", "for i = 1, 100000 do redis.call('XADD', KEYS[1], '*', 'id', '1', 'job', '') end", "1", "tallow:jobs")
    full = place.run("enqueue", "--run", "full", "--wait", "1", "--from-file", "-", text=json.dumps(GOOD))
    assert full.returncode == 3 and full.stdout == "full: 0 added\n" and full.stderr.count("\n") == 2, full
    assert "is full with 100,000 jobs; waiting" in full.stderr and "no room for 1 s; repeat" in full.stderr, full
    place.ask("DEL", "tallow:jobs")
    place.enqueue("memory", *[GOOD] * 6)
    place.ask("CONFIG", "SET", "maxmemory", "1mb")
    refused = place.begin("enqueue", "--from-file", "list")
    few = place.worker("l", "--until-empty", "--jobs", "64", "--rate", "50",
                       preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)))
    place.end(few, "l")
    assert "only 9 at a time" in place.log("l") and "OOM" not in place.log("l"), place.log("l")
    assert len(place.results()[0]) == 6
    _, err = refused.communicate(timeout=LIMIT)
    assert refused.returncode == 3 and "refuses EVAL: OOM; trying again" in err and err.count("\n") == 2, err
    place.ask("CONFIG", "SET", "maxmemory", "0")
    place.results("--remove")
    # A key of another program is removed only from an empty queue.
    place.ask("XADD", "tallow:jobs", "*", "id", "1", "job", "")
    place.ask("SET", "tallow:open", "text")
    wrong = place.begin("enqueue", "--from-file", "list")
    assert "WRONGTYPE, a key that begins with tallow: is not of a queue" in wrong.stderr.readline()
    wrong.kill()
    wrong.communicate()
    place.ask("DEL", "tallow:jobs")
    place.enqueue("type", GOOD)
    assert place.ask("HGET", "tallow:open", "type") == "1\n"
    place.ask("DEL", "tallow:jobs", "tallow:open")
    # Results that together are longer than the server could give at a time.
    place.ask("EVAL", "for i = 1, 16 do redis.call('XADD', KEYS[1], '*', 'id', 'huge-' .. i, 'result', string.rep('x', "
              "40 * 1024 * 1024)) end", "1", "tallow:results")
    _, printed = place.results()
    assert printed.returncode == 3 and "tallow: 16 entries are not results and were left out" in printed.stderr, printed
    _, printed = place.results("--run", "other")
    assert printed.stderr == "tallow: the queue has no results of the run other\n", printed
    place.ask("DEL", "tallow:results")


def check_login(place):
    """With the rights that the documents name, over TLS."""
    port, secret = str(free_port()), place.directory / "password"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "tls.key", "-out", "tls.pem",
                    "-days", "2", "-subj", "/CN=queue", "-addext", "subjectAltName=IP:127.0.0.1"], check=True,
                   cwd=place.directory, capture_output=True)
    place.serve("--port", "0", "--tls-port", port, "--tls-cert-file", "tls.pem", "--tls-key-file", "tls.key",
                "--tls-ca-cert-file", "tls.pem", "--tls-auth-clients", "no")
    rights = re.search(r"ACL SETUSER tallow (.*?)\n```", (ROOT / "docs/fleet.md").read_text(), re.S)[1].split()
    admin = ["redis-cli", "-p", port, "--tls", "--cacert", place.directory / "tls.pem", "ACL", "SETUSER"]
    place.wait_for(lambda: subprocess.run([*admin, "default", "on"], capture_output=True, check=False).stdout == b"OK\n")
    without = ["less", *rights, "-xrange", "-xadd", ">secret"]  # scripts use them
    for rule in (["tallow", *rights, ">secret"], without, ["default", "off"]):
        subprocess.run([*admin, *rule], check=True, capture_output=True)
    secret.write_text("secret\n")
    secret.chmod(0o600)
    queue = [f"rediss://127.0.0.1:{port}/0", "--queue-ca", place.directory / "tls.pem", "--queue-user", "tallow",
             "--queue-password-file", secret]
    for name, options, status in (("enqueue", ["--from-file", "list"], 0),
                                  ("worker", ["--until-empty", "--rate", "9", "--claim-after", "2"], 0),
                                  ("results", ["--remove"], 2), ("results", ["--dead"], 3)):
        done = place.begin(name, *options, queue=queue)
        out, err = done.communicate(timeout=LIMIT)
        assert done.returncode == status and "refuses" not in err, (name, out, err)
    for name, options in (("results", ()), ("enqueue", ["--from-file", "list"])):
        less = ["less" if one == "tallow" else one for one in queue]
        _, err = place.begin(name, *options, queue=less).communicate(timeout=LIMIT)
        assert "refuses EVAL: NOPERM; check the user, the password file and the rights\n" in err, err
    secret.write_text("wrong\n")
    wrong = place.begin("results", queue=queue)
    return wrong, place.begin("results", queue=[queue[0]])  # not verified


def check_hostile_jobs(place):
    dead = f"http://127.0.0.1:{free_port()}/"
    place.enqueue("dead", {**GOOD, "url": dead}, {**GOOD, "url": "http://169.254.0.1/"})
    for stream, field, size in (("tallow:jobs", "job", 20 << 20), ("tallow:results", "result", (1 << 20) + 1)):
        entry = place.ask("EVAL", "return redis.call('XADD', KEYS[1], '*', 'id', 'long-1', ARGV[1], string.rep('x', ARGV[2]))",
                          "1", stream, field, str(size)).strip()
    garbage = [("x", "y"), ("id", "1", "job", "garbage"), ("id", "2", "job", '{"certificate": "/etc/passwd"}'),
               ("id", "3", "job", "[" * 100000), ("id", "../4", "job", "{}"), ("id", "5", "job", '{"certificate": ""}'),
               ("id", "6", "job", '{"certificate": "-----BEGIN CERTIFICATE-----\\nAAAA\\n-----END CERTIFICATE-----"}')]
    for fields in garbage:
        place.ask("XADD", "tallow:jobs", "*", *fields)
    deep = "}" * 40000 + '","b":' + "[" * 40000 + "]" * 40000
    for result in ('{"schema": "\x1b[31m"}', '{"a":"' + deep + ',"job":"x-1","result":{"status":"good"},"schema":"tallow.fleet.line/1"}'):
        place.ask("XADD", "tallow:results", "*", "id", "7", "result", result)
    place.end(place.worker("d", "--until-empty"), "d")
    found, printed = place.results()
    assert printed.returncode == 3 and "3 entries are not results" in printed.stderr, printed
    long = (f"tallow: the entry {entry} of tallow:results, of the job long-1, was left out: it has 1,048,577 octets, more than "
            "the 1,048,576 of a result; check its certificate again under another --run, and remove it at the server with XDEL "
            f"tallow:results {entry}\n")
    assert long in printed.stderr and printed.stderr.count("was left out: it is not a result") == 2, printed.stderr
    assert all(one["result"]["status"] == "error" for one in found) and len(found) == len(garbage) + 3, found
    assert [one["result"]["error"]["text"] for one in found if one["job"] == "long-1"] == ["long-1: is longer than a job may be"]
    assert "root:" not in printed.stdout and "trying again" not in place.log("d"), place.log("d")
    assert place.log("d").count("longer than a job may be; each becomes a failed result") == 1, place.log("d")
    letters = sorted(place.results("--dead")[0], key=place_of)
    assert [(place_of(one), one["attempts"]) for one in letters] == [("dead-1", 3), ("dead-2", 3)], letters
    attempts = [one["result"]["attempts"][0] for one in letters]
    assert {one["source"] for one in attempts} == {"job"}, attempts
    assert "169.254.0.1 is a link-local" in attempts[1]["text"] and "neither the caller nor" in attempts[1]["text"], attempts
    refused = place.run("enqueue", "--run", "no/run", "--from-file", "-", text="")
    assert refused.returncode == 64 and refused.stderr.count("\n") == 1, refused


def check_clock(place):
    """One of the server that is set forward takes no job from a worker, and one that is set back keeps none."""
    with socket.create_server(("127.0.0.1", 0)) as silent:
        place.ask("DEL", "tallow:results", "tallow:dead")
        place.enqueue("clock", {**GOOD, "url": f"http://127.0.0.1:{silent.getsockname()[1]}/"})
        workers = [place.worker("n")]
        place.wait_for(lambda: place.owners() == {"n"})
        workers.append(place.worker("o"))
        time.sleep(2)  # it looks for jobs that were left
        place.ask("XGROUP", "CREATECONSUMER", "tallow:jobs", "workers", "ended")
        for hours in range(1, 7):
            place.set_clock(hours * 3600)
            time.sleep(1)
            assert place.owners() == {"n"} and place.ask("EXISTS", "tallow:tries") == "0\n", (hours, place.owners())
        assert "s behind that of the server; set the one" in place.log("o"), place.log("o")
        place.wait_for(lambda: place.consumers() - {"+waiting"} == {"n"})
        workers[0].kill()
        place.set_clock(0)
        place.wait_for(lambda: place.owners() == {"o"})
        for worker in workers:
            worker.kill()
            worker.wait()


def main():
    if shutil.which("redis-server") is None:
        print("skipped: redis-server is not installed")
        return 0
    with tempfile.TemporaryDirectory() as directory:
        place = Place(*(str(Path(one).resolve()) for one in sys.argv[1:]), Path(directory))
        try:
            refused = check_login(place)
            check_fleet(place)
            check_takeovers(place)
            check_ending(place)
            check_identifiers(place)
            check_limits(place)
            check_hostile_jobs(place)
            check_clock(place)
            for one, why in zip(refused, ("refuses the login: WRONGPASS", "certificate")):
                _, err = one.communicate(timeout=LIMIT)
                assert one.returncode == 3 and why in err and err.count("\n") == 2, err
        finally:
            for server in place.servers:
                server.kill()
                server.wait()
            subprocess.run([place.pki / "stop"], check=False)
    return 0


sys.exit(main())
