#!/usr/bin/env python3
"""What the SDK tells about the device it runs on, as a whole process sees it.

    device.py --bin FOLDER --identity FOLDER --host 127.0.0.x
"""

import ctypes
import os
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

from shop import OPTIONS, PaymentTest, run_groups

PTRACE_TRACEME, PTRACE_CONT = 0, 7


class Device(PaymentTest):
    def about(self, **keywords):
        run = self.shop("--about", **keywords)
        self.assertEqual((run.code, len(run.lines)), (0, 1), run.log)
        return run.outcome

    def findings(self, **keywords):
        return self.about(**keywords)["vulnerabilities"].split(",")

    def test_tells_every_fact(self):
        state = self.state()
        self.assertEqual(self.shop("--cancel", state=state).outcome["code"], "2525342")
        about = self.about(state=state)
        for name, value in about.items():
            if name != "vulnerabilities":
                self.assertNotIn(value, ("", "(null)", "…"), name)
        patterns = {"versionString": r"\d+;\d+", "localUserDate": r"\d{4}-\d\d-\d\d (0[1-9]|1[0-2]):\d\d:\d\d",
                    "ipAddress": r"127\.0\.0\.\d+", "bundleID": r"org\.example\.kelpay-shop",
                    "deviceData": r"APPL(\|[^|]+){4}", "uuid": r"[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}",
                    "trace": r"[1-8]\d\d", "merchantID": "1001", "isSimulator": "NO", "internetConnection": "YES|NO",
                    "currentReachabilityString": "WiFi|Cellular|No Connection",
                    "returnUserLocation": r"-?\d+\.\d+,-?\d+\.\d+", "getDeviceType": r"\d"}
        for name, pattern in patterns.items():
            self.assertRegex(about[name], rf"^({pattern})$", name)
        self.assertEqual(about["uuid"], self.about(state=state)["uuid"])

    def test_finds_preloaded_libraries(self):
        self.assertNotIn("preload", self.findings())
        (library,) = [line.split()[2] for line in subprocess.check_output(
            ["ldd", sys.executable], text=True).splitlines() if "libc.so" in line]
        self.assertIn("preload", self.findings(LD_PRELOAD=library))

    def test_finds_a_tracer(self):
        """A child that asked to be traced stops at its start; this process lets it go on as a debugger does."""
        libc = ctypes.CDLL(None, use_errno=True)
        self.assertNotIn("debugger", self.findings())
        reading, writing = os.pipe()
        child = os.fork()
        if child == 0:
            os.dup2(writing, 1)
            libc.ptrace(PTRACE_TRACEME, 0, None, None)
            os.execve(f"{OPTIONS.bin}/kelpay-shop", ["kelpay-shop", "--about"], self.environment())
        os.close(writing)
        while True:
            _, status = os.waitpid(child, 0)
            if not os.WIFSTOPPED(status):
                break
            caught = os.WSTOPSIG(status)
            libc.ptrace(PTRACE_CONT, child, None, 0 if caught == signal.SIGTRAP else caught)
        with os.fdopen(reading) as output:
            self.assertIn("debugger", output.read())

    def test_finds_a_tampered_library(self):
        """One bit of a text, one of the seal itself; what an installer does is no tampering."""
        built = f"{OPTIONS.bin}/libkelpay-sandbox.so.1"
        image = Path(built).read_bytes()
        with tempfile.TemporaryDirectory() as folder:
            seal, library = Path(folder, "seal"), Path(folder, "libkelpay-sandbox.so.1")
            subprocess.run(["objcopy", "--dump-section", f"kelpay_seal={seal}", built, library], check=True)
            self.assertNotIn("tampered", self.findings())
            for place in ("شماره کارت وارد شده صحیح نمیباشد".encode("utf-16-le"), seal.read_bytes()):
                changed = bytearray(image)
                changed[image.index(place)] ^= 1
                library.write_bytes(changed)
                self.assertIn("tampered", self.findings(LD_LIBRARY_PATH=folder))
            subprocess.run(["strip", "-o", library, built], check=True)
            self.assertNotIn("tampered", self.findings(LD_LIBRARY_PATH=folder))


if __name__ == "__main__":
    run_groups()
