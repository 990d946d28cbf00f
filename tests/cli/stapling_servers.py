#!/usr/bin/env python3
"""Starts real web servers with the configurations of examples/stapling, and asks them for the response that
`tallow staple` wrote. Also has systemd look at the units. What is not installed is skipped with a line.

  stapling_servers.py TALLOW
"""
import os
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
EXAMPLES = ROOT / "examples/stapling"
MODULES = Path("/usr/lib/apache2/modules")
NAME = "www.example.org"


def free_port():
    with socket.socket() as one:
        one.bind(("127.0.0.1", 0))
        return one.getsockname()[1]


def run(*command, **options):
    return subprocess.run(command, text=True, capture_output=True, timeout=60, check=False, **options)


def program(name):
    return shutil.which(name, path=os.environ["PATH"] + ":/usr/sbin")


class Place:
    """A directory with a PKI and its servers, and a certificate for each web server."""

    def __init__(self, tallow, directory):
        self.tallow, self.pki = tallow, directory / "pki"
        self.staples = directory / "staples"
        self.staples.mkdir()
        directory.chmod(0o755)  # a server gives up its rights
        subprocess.run([ROOT / "examples/pki/make-pki", self.pki], check=True, stdout=subprocess.DEVNULL)
        (self.pki / "settings.toml").touch()
        both = (self.pki / "server.pem").read_text() + (self.pki / "server.key").read_text()
        (self.staples / f"{NAME}.pem").write_text(both)
        shutil.copy(self.pki / "server.key", self.staples / f"{NAME}.key")

    def staple(self, *options):
        result = run(self.tallow, "staple", "--settings", "settings.toml", "--trust", "root.pem", "--crl", "root.crl",
                     "--out", self.staples, *options, self.staples / f"{NAME}.pem", cwd=self.pki,
                     env=dict(os.environ, HOME=str(self.pki)))
        assert result.returncode == 0, result.stdout + result.stderr

    def configuration(self, example, ports):
        """The example with the paths and ports of this place."""
        text = (EXAMPLES / example).read_text()
        for path in ("/etc/ssl/private", "/etc/haproxy/certs", "/var/lib/tallow-staple", "/etc/ssl"):
            text = text.replace(path, str(self.staples))
        for old, new in ports.items():
            text = re.sub(old, new, text)
        return text


def nginx(place, port):
    place.staple()
    sites = place.pki / "sites.conf"
    sites.write_text(place.configuration("nginx.conf", {"443": f"127.0.0.1:{port}"}))
    main = place.pki / "nginx.conf"
    main.write_text(f"daemon off; pid {place.pki}/nginx.pid; error_log stderr; events {{}}\n"
                    f"http {{ access_log off; include {sites}; }}\n")
    return [program("nginx"), "-p", place.pki, "-c", main]


def haproxy(place, port):
    place.staple("--name", f"{NAME}.pem")
    file = place.pki / "haproxy.cfg"
    file.write_text(place.configuration("haproxy.cfg", {":443": f"127.0.0.1:{port}"}))
    return [program("haproxy"), "-db", "-f", file]


def apache2(place, port):
    place.staple()
    file = place.pki / "apache.conf"
    # The server's user may not be permitted to read the sources.
    shutil.copy(EXAMPLES / "apache-staple", place.pki)
    loaded = ("mpm_event", "authz_core", "authz_host", "env", "alias", "cgid", "socache_shmcb", "ssl")
    modules = "".join(f"LoadModule {name}_module {MODULES}/mod_{name}.so\n" for name in loaded)
    text = place.configuration("apache.conf", {r"\*:443": f"127.0.0.1:{port}", r"Listen 443": f"Listen 127.0.0.1:{port}",
                                               "8079": str(free_port()), "/usr/lib/cgi-bin": str(place.pki)})
    file.write_text(f"ServerRoot {place.pki}\nPidFile {place.pki}/apache.pid\nErrorLog {place.pki}/apache.log\n"
                    f"ServerName localhost\nScriptSock {place.pki}/cgid.sock\nUser nobody\nGroup nogroup\n{modules}"
                    f"{text.replace('${APACHE_RUN_DIR}', str(place.pki))}")
    return [program("apache2"), "-D", "FOREGROUND", "-f", file]


def status_from(port):
    """What `openssl s_client` says about the stapled response; a server may need a moment to start or to fetch it."""
    shown = ""
    for _ in range(100):
        result = run("openssl", "s_client", "-connect", f"127.0.0.1:{port}", "-servername", NAME, "-status",
                     stdin=subprocess.DEVNULL)
        shown = result.stdout + result.stderr
        if "OCSP Response Status: successful" in shown:
            return shown
        time.sleep(0.1)
    return shown


def check_server(tallow, start):
    """Whether the server staples what tallow wrote."""
    port = free_port()
    with tempfile.TemporaryDirectory() as work:
        place = Place(tallow, Path(work))
        log = Path(work) / "server.log"
        try:
            with log.open("w") as output, subprocess.Popen(start(place, port), stdout=output, stderr=output) as server:
                try:
                    shown = status_from(port)
                finally:
                    server.terminate()
                    server.wait(30)
        finally:
            subprocess.run([place.pki / "stop"], check=False)
        problem = "" if "Cert Status: good" in shown else shown + log.read_text()
        apache_log = place.pki / "apache.log"
        return problem + (apache_log.read_text() if problem and apache_log.exists() else "")


def check_units(tallow):
    """Units of an instance, with the command of the build in place of the installed one."""
    with tempfile.TemporaryDirectory() as work:
        files = []
        for unit in [*(ROOT / "systemd").iterdir(), *EXAMPLES.glob("nginx-staple*")]:
            files.append(Path(work) / unit.name.removesuffix(".in").replace("@", "@x"))
            files[-1].write_text(unit.read_text().replace("@TALLOW_COMMAND_PATH@", tallow))
        verified = run("systemd-analyze", "verify", "--man=no", *files)
        if verified.returncode != 0 or verified.stderr:
            return verified.stdout + verified.stderr
        service = next(file for file in files if file.name == "tallow-staple@x.service")
        judged = run("systemd-analyze", "security", "--offline=true", "--threshold=20", service)
        return "" if judged.returncode == 0 else judged.stdout


def main():
    tallow = str(Path(sys.argv[1]).resolve())
    problems = []
    for name, check in (("nginx", lambda: check_server(tallow, nginx)), ("haproxy", lambda: check_server(tallow, haproxy)),
                        ("apache2", lambda: check_server(tallow, apache2)),
                        ("systemd-analyze", lambda: check_units(tallow))):
        if program(name) is None:
            print(f"skipped {name}: it is not installed")
            continue
        problem = check()
        print(f"{name}: {problem or 'passed'}")
        problems += [name] if problem else []
    return 1 if problems else 0


sys.exit(main())
