"""kelpay-sandbox as a process, and a client that seals its requests with the openssl command."""

import base64
import json
import os
import ssl
import subprocess
import tempfile
import time
import urllib.error
import urllib.request
from pathlib import Path

KEY, VECTOR = b"k" * 32, b"sixteen bytes IV"
DEVICE = "0A1B2C3D-0000-4000-8000-0123456789AB"


def openssl(data, *arguments):
    return subprocess.run(["openssl", *arguments], input=data, capture_output=True, check=True).stdout


class Service:
    def __init__(self, binary, host, *arguments, home=None):
        self.folder = tempfile.TemporaryDirectory(prefix="kelpay-tool-")
        self.home = Path(home or self.folder.name)
        self.host, self.ready = host, Path(self.folder.name) / "ready"
        self.process = subprocess.Popen(
            [binary, "--host", host, "--ready-file", self.ready, "--die-with-parent", "--verbose", *arguments],
            env=os.environ | {"XDG_DATA_HOME": str(self.home)}, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for _ in range(100):
            if self.ready.exists() or self.process.poll() is not None:
                break
            time.sleep(0.1)
        assert self.ready.exists(), self.process.communicate()[1]
        self.identity = self.home / "kelpay-sandbox/identity"

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        """What it printed: (out, err)."""
        self.process.terminate()
        return self.process.communicate(timeout=10)

    def get(self, path, data=None, headers=None, port=1443, scheme="https"):
        """Status and body; a POST with `data`."""
        request = urllib.request.Request(f"{scheme}://{self.host}:{port}{path}", data, headers or {})
        trust = ssl.create_default_context(cafile=self.identity / "service-anchors.pem")
        handlers = [urllib.request.ProxyHandler({}), urllib.request.HTTPSHandler(context=trust)]
        try:
            with urllib.request.build_opener(*handlers).open(request, timeout=10) as answer:
                return answer.status, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.read()

    def exchange(self, request):
        """The opened answer, or the status of one that is none."""
        envelope_key = str(self.identity / "envelope.key")
        wrapped = openssl(KEY, "pkeyutl", "-encrypt", "-inkey", envelope_key)
        cipher = openssl(VECTOR + json.dumps(request, separators=(",", ":")).encode(), "enc", "-aes-256-cbc", "-K",
                         KEY.hex(), "-iv", VECTOR.hex())
        text = base64.b64encode(cipher)
        lines = b"\r\n".join(text[i:i + 76] for i in range(0, len(text), 76))
        status, body = self.get("/8/request", b"'" + base64.b64encode(wrapped) + b"#" + lines + b"\n'",
                                {"Content-Type": "application/json"})
        if status != 200:
            return status
        sealed = base64.b64decode(body.replace(b"\\", b"")[1:-1])
        return json.loads(openssl(sealed, "enc", "-d", "-aes-256-ecb", "-K", KEY.hex()))

    def token(self, parameters="C1|1500000|title", mobile="09121234567", trace=300):
        return self.exchange({
            "vi": "210;14", "ar": mobile + ";127.0.0.1;", "m": 100, "ct": "2026-11-22 03:04:05", "ti": trace,
            "cs": "org.example.host", "dd": "APPL|x86_64|12|my|device|Desktop", "ai": "0", "di": DEVICE,
            "ap": {"v": "", "r": parameters}, "pc": 100003, "ad": {"r": "extra"}, "pn": "org.example.host",
            "mi": "4000", "fp": DEVICE})

    def payment(self, token, card="6037990000000006", mobile="09121234567", trace=300):
        detail = token["rd"]
        fields = ["C1", detail["t"], card, "13579", "5", "NA", "NA", detail["rn"], detail["ta"]]
        return self.exchange({
            "vi": "210;14", "ar": mobile + ";127.0.0.1;", "m": 200, "ct": "2026-11-22 03:04:05", "ti": trace,
            "cs": "org.example.host", "dd": "APPL|x86_64|12|my|device|Desktop", "ai": "0", "di": DEVICE,
            "ap": {"v": "", "r": "|".join(fields)}, "pc": 200000, "ad": {"r": "NA"}, "pn": "org.example.host",
            "mi": "4000", "fp": DEVICE})
