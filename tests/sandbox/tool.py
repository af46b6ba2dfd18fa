"""kelpay-sandbox as a developer starts it: without anything, with a scenario, recording, replaying.

    tool.py BINARY DOCS
"""

import json
import os
import re
import socket
import ssl
import subprocess
import sys
import tempfile
import urllib.request
from pathlib import Path

from service import Service

BINARY, DOCS = sys.argv[1:]
HOST = "127.0.0.14"
CARD, DECLINED = "6037990000000006", "6037990000000519"


def main():
    with tempfile.TemporaryDirectory(prefix="kelpay-tool-") as home:
        journal, record = Path(home) / "journal", Path(home) / "record"
        service = Service(BINARY, HOST, "--journal", journal, "--record", record, home=home)
        assert service.ready.read_text() == f"{HOST}:1443\n"
        for name in ("IOSNewCert.pfx", "service-anchors.pem"):
            assert (service.identity / name).stat().st_mode & 0o077 == 0, name
        token = service.token()
        assert service.payment(token)["rc"] == 0
        assert service.payment(service.token(), DECLINED)["rc"] == 51
        assert service.token(parameters="C1|x\x1b[2Jy|title")["rc"] == 0
        service.exchange({})
        service.get("/nowhere")
        try:  # as a client that holds another identity
            connection = ssl.create_default_context().wrap_socket(
                socket.create_connection((HOST, 1443)), server_hostname=HOST)
            raise AssertionError(f"the system's store trusts it: {connection}")
        except ssl.SSLCertVerificationError:
            pass
        out, err = service.stop()
        assert not service.ready.exists()
        assert f"export KELPAY_SERVICE_HOST='{HOST}'\nexport KELPAY_IP_ECHO='https://{HOST}:1443/'\n" \
               f"export KELPAY_RESOURCES='{service.identity}'\n" in out, out
        assert re.search(r"payment  +merchant 4000  603799\*+0006  1,500,000 rials  rc 0\n", out), out
        assert "603799******0519  1,500,000 rials  rc 51  declined: insufficient funds" in out, out
        assert "\x1b" not in out
        assert "refused the service's certificate" in err and f"KELPAY_RESOURCES='{service.identity}'" in err, err
        kept = journal.read_text() + record.read_text() + out + err
        for secret in (CARD, DECLINED, "13579", token["rd"]["t"]):
            assert secret not in kept, "a secret is kept"

        with Service(BINARY, HOST, "--replay", record, "--journal", journal, home=home) as service:
            again = service.token(trace=777)
            assert again["ti"] == 777 and again["rd"]["t"] != token["rd"]["t"]
            assert again["rd"]["rn"] == token["rd"]["rn"], "not the recorded answer"
            assert service.payment(again, trace=777)["ti"] == 777
            assert service.payment(service.token())["rc"] == 51, "what was recorded, not what the card says"
            _, err = service.stop()
        assert err.count("the replay deviates") == 1 and "603799******0519" in err, err

        written = {key for line in journal.read_text().splitlines() for key in json.loads(line)}
        section = Path(DOCS, "sandbox.md").read_text().split("## The journal")[1].split("\n## ")[0]
        told = {key for line in re.findall(r"^\|([^|]*)\|", section, re.M) for key in re.findall(r"`(\w+)`", line)}
        assert written == told, f"written only: {written - told}, documented only: {told - written}"

        with Service(BINARY, HOST, "--scenario", "payment:http-500", home=home) as service:
            assert service.payment(service.token()) == 500
        if Path("/proc/net/if_inet6").exists():
            with Service(BINARY, "::1", "--inspector", "8143", home=home) as service:
                link = [service.process.stdout.readline() for _ in range(2)][1].split()[-1]
                assert link == "http://[::1]:8143/inspector" and urllib.request.urlopen(link).status == 200, link
        for arguments, code, word in ((["--scenario", "nonsense"], 2, "insufficient-funds"),
                                      (["--host", HOST, "--inspector", "1443"], 1, f"can't listen on port 1443 of {HOST}")):
            wrong = subprocess.run([BINARY, *arguments], capture_output=True, text=True, timeout=10,
                                   env=os.environ | {"XDG_DATA_HOME": home})
            assert wrong.returncode == code and word in wrong.stderr, wrong.stderr


main()
