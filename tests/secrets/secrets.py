#!/usr/bin/env python3
"""What the payer typed is gone when it was used: kelpay-secrets-host pays against kelpay-sandbox, and at each end of a
payment its writable memory is searched for PIN and CVV2, then all that it left behind.

    secrets.py --bin FOLDER --identity FOLDER [--host 127.0.0.x]
"""

import argparse
import base64
import os
import re
import resource
import subprocess
import sys
import tempfile
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

# What each host reaches, one after the other; "typed" is a crash with everything typed.
HOSTS = [["planted", "approved", "refused"], ["transport error", "cancelled"], ["expired", "window destroyed"], ["typed"]]
PIN, CVV2 = (bytes(~digit & 0xff for digit in bytes.fromhex(text)) for text in ("c8cccfc6cacec7c9cbcdc6c8", "cac7cfcbcecc"))


def needles():
    """What each kind of copy looks like, in one byte a character and in two."""
    forms = [("PIN", PIN[start:start + 5]) for start in range(len(PIN) - 4)] + [("CVV2", CVV2)]
    for text in (PIN, CVV2):
        forms.append(("hexadecimal", text.hex().encode()))
        # What of base64 doesn't depend on what stands beside, for each place in a group of three.
        forms += [("base64", base64.b64encode(text[skip:skip + (len(text) - skip) // 3 * 3])) for skip in range(3)]
    return [(kind + encoding, form) for kind, text in forms
            for encoding, form in ((" in UTF-8", text), (" in UTF-16", text.decode().encode("utf-16-le")))]


NEEDLES = needles()
# Logs are full of addresses, and by chance five of their digits are the PIN's.
ADDRESS = re.compile(rb"0\0?x(\0?[0-9a-f])*\0?$")


def count(data):
    found = Counter()
    if data.strip(b"\0"):
        for kind, form in NEEDLES:
            at = data.find(form)
            while at >= 0:
                found[kind] += not ADDRESS.search(data, max(0, at - 32), at)
                at = data.find(form, at + 1)
    return +found


def memory_of(process):
    """The copies in what the process can write to, with the names of where they are."""
    found = Counter()
    with open(f"/proc/{process}/mem", "rb", 0) as memory:
        for line in Path(f"/proc/{process}/maps").read_text().splitlines():
            begin, end, rights, name = re.match(r"(\w+)-(\w+) (\S+) \S+ \S+ \S+ *(.*)", line).groups()
            if rights[1] != "w":
                continue
            begin, end = int(begin, 16), int(end, 16)
            for at in range(begin, end, 1 << 20):
                try:
                    memory.seek(at)
                    copies = count(memory.read(min((1 << 20) + 64, end - at)))
                    found.update({f"{kind}, {name or 'unnamed memory'}": times for kind, times in copies.items()})
                except OSError:
                    pass  # not there for anybody
    return found


def allow_core_dumps():
    resource.setrlimit(resource.RLIMIT_CORE, (resource.getrlimit(resource.RLIMIT_CORE)[1],) * 2)


def run(options, folder, ends):
    """A host in a folder of its own: what was found at each end, and in each file that it left."""
    env = os.environ | {
        **{f"XDG_{kind}_HOME": folder for kind in ("DATA", "CACHE", "CONFIG", "STATE")}, "TMPDIR": folder,
        "KELPAY_SERVICE_HOST": options.host, "KELPAY_IP_ECHO": f"https://{options.host}:1443/",
        "QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software", "LANG": "C.UTF-8", "QT_LOGGING_RULES": "*=true"}
    found = []
    with open(Path(folder, "log"), "wb") as log:
        host = subprocess.Popen([f"{options.bin}/kelpay-secrets-host", *ends], env=env, cwd=folder, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=log, preexec_fn=allow_core_dumps)
        for end in ends:
            reached = host.stdout.readline().decode().strip()
            assert reached == end, f"{end} was not reached"
            if end != "typed":
                found.append((end, memory_of(host.pid)))
                found += [(part, count(Path(f"/proc/{host.pid}/{part}").read_bytes())) for part in ("cmdline", "environ")]
            host.stdin.write(b"\n")
            host.stdin.flush()
        assert (host.wait(60) == 0) == (ends != ["typed"]), f"a host ended with {host.returncode}"
    return found + [(path.name, count(path.read_bytes())) for path in Path(folder).rglob("*") if path.is_file()]


def attempt(options, folder):
    """What was found where, and what of it the service or a host drew by chance."""
    service = subprocess.Popen(
        [f"{options.bin}/kelpay-sandbox", "--host", options.host, "--identity", options.identity, "--die-with-parent",
         "--record", f"{folder}/record", "--ledger", f"{folder}/ledger"], stdout=subprocess.PIPE, text=True)
    assert "listens on" in service.stdout.readline(), "the sandbox did not start"
    with ThreadPoolExecutor() as pool:
        folders = [tempfile.mkdtemp(dir=folder) for _ in HOSTS]
        found = [copies for host in pool.map(lambda at, ends: run(options, at, ends), folders, HOSTS) for copies in host]
    service.terminate()
    service.wait()
    return found, sum((count(path.read_bytes()) for path in Path(folder).iterdir() if path.is_file()), Counter())


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--identity", required=True)
    parser.add_argument("--host", default="127.0.0.18")
    options = parser.parse_args()
    # One run in a hundred has five of the PIN's digits among its reference numbers and tokens, and can't tell anything.
    for _ in range(3):
        with tempfile.TemporaryDirectory(prefix="kelpay-secrets-") as folder:
            found, drawn = attempt(options, folder)
        if not drawn:
            break
        print(f"drawn by chance: {dict(drawn)}")
    for name, copies in found:
        print(f"{name}: {dict(copies) or 0}")
    if not any(name.startswith("core") for name, _ in found):
        print("no core dump: this system writes them as", Path("/proc/sys/kernel/core_pattern").read_text().strip())
    faults = [name for name, copies in found if bool(copies) != (name == "planted")]
    sys.exit(f"copies: {faults}" if faults else 0)


if __name__ == "__main__":
    main()
