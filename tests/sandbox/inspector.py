"""The inspector in headless Chromium, over the plain port, against real exchanges.

    inspector.py BINARY CHROMIUM [FOLDER for screenshots]
"""

import base64
import json
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

from service import Service

BINARY, CHROMIUM = sys.argv[1:3]
HOST, PORT = "127.0.0.14", 14480
HOSTILE = "<img src=x onerror=document.title='owned'><script>document.title='owned'</script>"


class Browser:
    """Speaks the devtools protocol over a pair of pipes."""

    def __init__(self, folder):
        ours, theirs = os.pipe(), os.pipe()  # to the browser, from it

        def wire():
            os.dup2(ours[0], 63), os.dup2(theirs[1], 64)
            os.dup2(63, 3), os.dup2(64, 4)

        self.process = subprocess.Popen(
            [CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--remote-debugging-pipe",
             f"--user-data-dir={folder}", "--no-first-run", "--no-proxy-server", "about:blank"],
            preexec_fn=wire, close_fds=False, stderr=subprocess.DEVNULL)
        os.close(ours[0]), os.close(theirs[1])
        self.out, self.source, self.number = os.fdopen(ours[1], "wb", 0), os.fdopen(theirs[0], "rb"), 0
        target = self.send("Target.createTarget", url="about:blank")["targetId"]
        self.session = None
        self.session = self.send("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]

    def send(self, method, **parameters):
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if getattr(self, "session", None):
            message["sessionId"] = self.session
        self.out.write(json.dumps(message).encode() + b"\0")
        while True:
            text = b""
            while not text.endswith(b"\0"):
                text += self.source.read(1) or (_ for _ in ()).throw(EOFError("the browser ended"))
            answer = json.loads(text[:-1])
            if answer.get("id") == self.number:
                assert "error" not in answer, answer
                return answer["result"]

    def run(self, script):
        result = self.send("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True)
        assert "exceptionDetails" not in result, result
        return result["result"].get("value")

    def until(self, script):
        for _ in range(100):
            if self.run(script):
                return
            time.sleep(0.1)
        raise AssertionError(f"never: {script}\n{self.run('document.body.innerText')}")

    def shoot(self, path, width, height, dark):
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.send("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])
        wide = self.run("document.documentElement.scrollWidth - document.documentElement.clientWidth")
        assert wide <= 0, f"scrolls sideways at {width}"
        if path:
            picture = self.send("Page.captureScreenshot", captureBeyondViewport=True)["data"]
            Path(path).write_bytes(base64.b64decode(picture))


def refuses_others(service):
    own = {"Host": f"{HOST}:{PORT}"}
    _, page = service.get("/inspector", port=PORT, scheme="http")
    token = page.decode().split('inspector-token" content="')[1].split('"')[0]
    good = own | {"X-Inspector-Token": token}
    table = [  # path, body, headers, status
        ("/inspector", None, {"Host": f"evil.example:{PORT}"}, 403),
        ("/inspector/state", None, own | {"Sec-Fetch-Site": "cross-site"}, 403),
        ("/inspector/state", None, own | {"Origin": "http://evil.example"}, 403),
        ("/inspector/next", b"payment:reset", own, 403),
        ("/inspector/next", b"payment:reset", good | {"Origin": "null"}, 403),
        ("/inspector/next", b"payment:reset", good | {"Sec-Fetch-Site": "same-site"}, 403),
        ("/inspector/next", b"token:wrong-pin", good, 400),
        ("/inspector/next", b"payment:slow", good, 200),
        ("/inspector/next", b"", good, 200),
    ]
    for path, body, headers, status in table:
        got, text = service.get(path, body, headers, PORT, "http")
        assert got == status, (path, headers, got, text)


def main():
    shots = Path(sys.argv[3]) if len(sys.argv) > 3 else None
    with tempfile.TemporaryDirectory(prefix="kelpay-chromium-") as folder, \
            Service(BINARY, HOST, "--inspector", str(PORT)) as service:
        refuses_others(service)
        browser = Browser(folder)
        try:
            browser.send("Page.navigate", url=f"http://{HOST}:{PORT}/inspector")
            browser.until("document.querySelector('#live')?.textContent === 'live'")
            token = service.token(f"C1|1500000|{HOSTILE}")
            assert service.payment(token)["rc"] == 0
            service.exchange({"m": 100})
            service.payment(service.token(), "6037990000000519")
            browser.until("document.querySelectorAll('#exchanges > details').length === 5")
            browser.until("document.querySelector('#ledger').innerText.includes('onerror')")
            assert browser.run("document.title") == "KelPay sandbox: inspector", "a merchant's title ran"
            assert browser.run("document.querySelectorAll('#ledger img, #exchanges img').length") == 0
            text = browser.run("document.body.textContent")
            for owed in ("603799******0006", "len:5", "rejected: key", "insufficient funds", "6037990000005237"):
                assert owed in text, owed
            for secret in ("13579", token["rd"]["t"]):
                assert secret not in text, "a secret shows"
            assert "6037990000000006" not in browser.run("document.querySelector('#exchanges').textContent")
            browser.run("""document.querySelector('#scenario').value = 'http-500';
                           document.querySelector('#set').click()""")
            browser.until("document.querySelector('#next').textContent.includes('http-500')")
            again = service.token()
            assert service.payment(again) == 500 and service.payment(again)["rc"] == 0, "once, and no longer"
            browser.until("document.querySelector('#next').textContent === 'As the numbers say.'")
            browser.run("document.querySelectorAll('#exchanges > details')[3].open = true")
            for width, height, dark in ((1280, 900, False), (1280, 900, True), (360, 800, False)):
                shade = "dark" if dark else "light"
                browser.shoot(shots and shots / f"inspector-{width}-{shade}.png", width, height, dark)
        finally:
            browser.process.terminate()
            browser.process.wait(10)


main()
