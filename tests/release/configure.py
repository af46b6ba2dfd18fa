#!/usr/bin/env python3
"""What a release refuses to be configured with; each message names what to do."""

import subprocess
import sys
import tempfile
from pathlib import Path

source, cmake = sys.argv[1:3]
with tempfile.TemporaryDirectory() as scratch:
    data = Path(scratch, "deployment")
    data.mkdir()

    def configure(*settings):
        run = subprocess.run([cmake, "-S", source, "-B", Path(scratch, "build"), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                              "-DKELPAY_BUILD_EXAMPLES=OFF", *settings], capture_output=True, text=True)
        return run.returncode, " ".join(run.stderr.split())

    host, folder = "-DKELPAY_SERVICE_HOST=pay.example.org", f"-DKELPAY_RESOURCES_DIR={data}"
    faults = []

    def expect(name, settings, word):
        code, text = configure(*settings)
        if (code == 0) != (word is None) or (word and word not in text):
            faults.append(f"{name}: {'configured' if code == 0 else text}")

    expect("no service", [folder], "KELPAY_SERVICE_HOST is not set")
    expect("no certificate", [host, folder], "holds no IOSNewCert.pfx")
    (data / "IOSNewCert.pfx").write_bytes(b"x")
    (data / "service-anchor.pem").write_bytes(b"x")
    expect("misspelt anchors", [host, folder], "holds no service-anchors.pem")
    expect("the system's trust, asked for", [host, folder, "-DKELPAY_SYSTEM_TRUST=ON"], None)
    print("\n".join(faults) or "a release is configured as it says")
    sys.exit(1 if faults else 0)
