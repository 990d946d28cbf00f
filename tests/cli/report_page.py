#!/usr/bin/env python3
"""Looks at the page of `tallow check --report`: its markup, and with Chromium, where that is installed, what a person
sees and does: no error, no request, sorting and filtering from the keyboard, contrast, a narrow screen, paper.

  report_page.py TALLOW [--pictures DIRECTORY]
"""
import base64
import hashlib
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from html.parser import HTMLParser
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HOSTILE = '<img src=x onerror="document.title=1"><script>'
SECONDS = 120

# The ratio of luminances of text and what is behind it, of every element with text; the worst ones below 4.5.
CONTRAST = """
(() => {
  const channels = (colour) => colour.match(/[\\d.]+/g).map(Number);
  const light = (c) => { c /= 255; return c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4; };
  const luminance = ([r, g, b]) => 0.2126 * light(r) + 0.7152 * light(g) + 0.0722 * light(b);
  const behind = (element) => {
    for (let e = element; e; e = e.parentElement) {
      const c = channels(getComputedStyle(e).backgroundColor);
      if (c.length === 3 || c[3] === 1) return c;
    }
    return [255, 255, 255];
  };
  const bad = [];
  for (const e of document.body.querySelectorAll("*")) {
    const hasText = [...e.childNodes].some((n) => n.nodeType === 3 && n.data.trim());
    if (!hasText || !e.checkVisibility() || e.tagName === "SCRIPT") continue;
    const style = getComputedStyle(e);
    const [a, b] = [luminance(channels(e.tagName === "text" ? style.fill : style.color)), luminance(behind(e))];
    const ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (ratio < 4.5) bad.push(`${e.tagName}.${e.className} ${ratio.toFixed(2)}`);
  }
  return bad;
})()"""


class Page(HTMLParser):
    """The elements of a page, and whether every one that must be closed is."""

    def __init__(self, text):
        super().__init__()
        self.open, self.names, self.attributes, self.text = [], [], [], {"style": "", "script": ""}
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.names.append(tag)
        self.attributes += [(tag, name, value) for name, value in attrs]
        if tag not in ("meta", "input"):
            self.open.append(tag)

    def handle_endtag(self, tag):
        assert self.open.pop() == tag, f"</{tag}> is out of order at {self.getpos()}"

    def handle_startendtag(self, tag, attrs):
        self.names.append(tag)

    def handle_data(self, data):
        if self.open and self.open[-1] in self.text:
            self.text[self.open[-1]] += data


def check_markup(path):
    text = path.read_text()
    page = Page(text)
    assert not page.open, page.open
    for name in ("a", "img", "link", "iframe", "object", "base", "use", "image"):
        assert name not in page.names, name
    names = {name for _, name, _ in page.attributes}
    assert not names & {"src", "href", "style", "action", "srcset"} and not any(n.startswith("on") for n in names), names
    policy = next(value for tag, name, value in page.attributes if name == "content" and "default-src" in value)
    assert policy.startswith("default-src 'none'; "), policy
    for element in ("style", "script"):
        digest = base64.b64encode(hashlib.sha256(page.text[element].encode()).digest()).decode()
        assert page.names.count(element) == 1 and f"{element}-src 'sha256-{digest}'" in policy, element
    assert HOSTILE not in text and text.count("&lt;img src") >= 2


class Browser:
    """Chromium, driven through a pipe."""

    def __init__(self, directory):
        to_child, self.input = os.pipe()
        self.output, from_child = os.pipe()
        options = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                   "--disable-background-networking", "--remote-debugging-pipe", f"--user-data-dir={directory}"]
        script = f'exec "$@" 3<&{to_child} 4>&{from_child}'
        self.process = subprocess.Popen(["bash", "-c", script, "bash", shutil.which("chromium"), *options],
                                        pass_fds=(to_child, from_child), stdin=subprocess.DEVNULL,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(to_child)
        os.close(from_child)
        self.number, self.rest, self.waiting, self.events, self.session = 0, b"", [], [], None
        os.set_blocking(self.output, False)
        target = self.send("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.send("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.send(f"{domain}.enable")

    def receive(self, wanted):
        """The first message that `wanted` accepts; others are kept."""
        end = time.monotonic() + SECONDS
        while time.monotonic() < end:
            while self.waiting:
                self.events.append(json.loads(self.waiting.pop(0)))
                if wanted(self.events[-1]):
                    return self.events[-1]
            try:
                part = os.read(self.output, 1 << 20)
                assert part, "the browser ended"
                *self.waiting, self.rest = (self.rest + part).split(b"\0")
            except BlockingIOError:
                time.sleep(0.01)
        raise TimeoutError("the browser does not answer")

    def send(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.input, json.dumps(message).encode() + b"\0")
        answer = self.receive(lambda m, number=self.number: m.get("id") == number)
        assert "error" not in answer, answer
        return answer["result"]

    def load(self, path):
        self.send("Page.navigate", url=path.as_uri())
        self.receive(lambda m: m.get("method") == "Page.loadEventFired")

    def value(self, expression):
        result = self.send("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        assert "exceptionDetails" not in result, result
        return result["result"].get("value")

    def press(self, key, code=None, text=""):
        code = code or {"Tab": 9, "Enter": 13, " ": 32}[key]
        for kind in ("keyDown", "keyUp"):
            self.send("Input.dispatchKeyEvent", type=kind, key=key, windowsVirtualKeyCode=code,
                      text=text if kind == "keyDown" else "")

    def tab_to(self, condition):
        for _ in range(60):
            self.press("Tab")
            if self.value(f"(e => {condition})(document.activeElement)"):
                return
        raise AssertionError(f"the key Tab does not lead to {condition}")

    def look(self, width, scheme="light", media="screen"):
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=900, deviceScaleFactor=1, mobile=False)
        self.send("Emulation.setEmulatedMedia", media=media, features=[{"name": "prefers-color-scheme", "value": scheme}])

    def picture(self, path):
        shot = self.send("Page.captureScreenshot", format="png", captureBeyondViewport=True)
        path.write_bytes(base64.b64decode(shot["data"]))

    def paper(self):
        return base64.b64decode(self.send("Page.printToPDF", printBackground=False)["data"])

    def close(self):
        os.killpg(self.process.pid, signal.SIGTERM)  # a session of its own
        self.process.wait(SECONDS)


ROWS = "[...document.querySelector('.list').tBodies]"
STATES = f"{ROWS}.filter(r => !r.hidden).map(r => r.className).join(' ')"
INPUT = "text.dispatchEvent(new Event('input')); new Promise(done => setTimeout(done, 100))"
OPEN = "document.querySelectorAll('details[open]').length"


def check_in_browser(browser, path, pictures):
    browser.look(1280)
    browser.load(path)
    before = browser.value(STATES)
    assert browser.value("document.title") == "OCSP report: 2 of 7 good"
    assert browser.value("document.querySelectorAll('script, img').length") == 1

    browser.tab_to("e.textContent === 'Status'")
    assert browser.value("getComputedStyle(document.activeElement).outlineStyle") == "solid"  # the focus is visible
    browser.press("Enter", text="\r")
    assert browser.value(STATES).split() == sorted(before.split(), key=["revoked", "unproven", "unknown", "flawed", "good"].index)
    assert browser.value("document.querySelector('[aria-sort=ascending]').textContent") == "Status"
    browser.press(" ", text=" ")
    assert browser.value(STATES).startswith("good good") and browser.value(STATES).endswith("revoked")
    # Each column sorts; what is empty comes last in both directions.
    for column in range(7):
        for _ in range(2):
            browser.value(f"document.querySelectorAll('.list thead button')[{column}].click()")
            empty = browser.value(f"{ROWS}.map(r => r.rows[0].cells[{column}].textContent === '' ? '1' : '0').join('')")
            assert "10" not in empty, (column, empty)
    browser.value("document.querySelector('.list thead button').click()")
    assert browser.value(STATES) == before

    browser.send("Page.reload")
    browser.receive(lambda m: m.get("method") == "Page.loadEventFired")
    browser.tab_to("e.id === 'text'")
    browser.send("Input.insertText", text="revoked.pem")
    browser.value("new Promise(done => setTimeout(done, 100))")
    assert browser.value(STATES) == "revoked" and browser.value("shown.value") == "1 of 7 shown; 4 that are not good hidden"
    browser.value("text.value = document.querySelector('tbody.revoked .serial').textContent; " + INPUT)
    assert "revoked" in browser.value(STATES).split()
    browser.value("text.value = 'nothing like this'; " + INPUT)
    assert browser.value(STATES) == "" and not browser.value("none.hidden")
    browser.value("text.value = ''; document.getElementById('status').value = '-good'; "
                  "document.getElementById('status').dispatchEvent(new Event('input'))")
    assert "good" not in browser.value(STATES).split() and browser.value(STATES)

    # On paper what the filter shows is open, and closed again afterwards.
    browser.value("addEventListener('beforeprint', () => { window.numOpen = "
                  "document.querySelectorAll('tbody:not([hidden]) details[open]').length })")
    assert browser.paper().startswith(b"%PDF-") and browser.value("numOpen") == 5 and browser.value(OPEN) == 0

    browser.load(path)
    browser.tab_to("e.tagName === 'SUMMARY'")
    browser.press("Enter", text="\r")
    assert browser.value(OPEN) == 1
    browser.value("document.getElementById('open').click()")
    for width, scheme, media in ((1280, "light", "screen"), (1280, "dark", "screen"), (360, "light", "screen"),
                                 (760, "dark", "print")):
        browser.look(width, scheme, media)
        assert browser.value(CONTRAST) == [], (width, scheme, media, browser.value(CONTRAST))
        wide = browser.value("document.documentElement.scrollWidth")
        assert wide <= width, f"{wide} pixels at {width}"
        if pictures:
            browser.picture(pictures / f"{width}-{scheme}-{media}.png")
    if pictures:
        (pictures / "paper.pdf").write_bytes(browser.paper())

    # Without the script everything is there, and no tool that does nothing.
    browser.look(1280)
    browser.send("Emulation.setScriptExecutionDisabled", value=True)
    browser.load(path)
    shown = browser.send("DOMSnapshot.captureSnapshot", computedStyles=["display"])["strings"]
    assert any("revoked.pem" in text for text in shown) and not any("of 7 shown" in text for text in shown)

    for event in browser.events:
        name = event.get("method")
        assert name != "Runtime.exceptionThrown" and name != "Log.entryAdded", event
        if name == "Network.requestWillBeSent":
            url = event["params"]["request"]["url"]
            assert url in (path.as_uri(), "about:blank"), url


def make_report(tallow, work):
    """A report with every state, and a certificate whose names are markup. No certificate is expired on purpose: the
    responder's answers are from now."""
    pki = work / "pki"
    subprocess.run([ROOT / "examples/pki/make-pki", pki], check=True, stdout=subprocess.DEVNULL)
    try:
        (pki / "settings.toml").touch()
        hostile = pki / HOSTILE
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                        "-keyout", os.devnull, "-out", hostile, "-subj", f"/CN={HOSTILE}", "-days", "1", "-addext",
                        "basicConstraints=CA:FALSE"], check=True, stderr=subprocess.DEVNULL)
        report = work / "report.html"
        done = subprocess.run([tallow, "check", "--settings", "settings.toml", "--trust", "root.pem", "--crl", "root.crl",
                               "--verify-chain", "--report", report, "good.pem", "revoked.pem", "unknown.pem", "missing.pem",
                               "presigned.pem", hostile, work / "\u202egood.pem"],
                              cwd=pki, env=dict(os.environ, HOME=str(pki)), capture_output=True, timeout=SECONDS, check=False)
        assert done.returncode == 1, done
        return report
    finally:
        subprocess.run([pki / "stop"], check=False)


def main():
    tallow = Path(sys.argv[1]).resolve()
    pictures = Path(sys.argv[3]).resolve() if len(sys.argv) > 3 else None
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as work:
        report = make_report(tallow, Path(work))
        if pictures:
            shutil.copy(report, pictures)
        check_markup(report)
        if shutil.which("chromium") is None:
            print("passed; skipped the browser: chromium is not installed")
            return 0
        browser = Browser(Path(work) / "profile")
        try:
            check_in_browser(browser, report, pictures)
        finally:
            browser.close()
    print("passed")
    return 0


sys.exit(main())
