"""Certificates of every kind that a client has to refuse, beside one that it takes. Made by openssl's command."""

import subprocess
from pathlib import Path

AUTHORITY = """
[ca]
default_ca = it
[it]
database = index
serial = serial
new_certs_dir = .
default_md = sha256
policy = any
copy_extensions = copy
unique_subject = no
[any]
commonName = supplied
"""


KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]


def run(folder, *arguments):
    subprocess.run(["openssl", *map(str, arguments)], cwd=folder, check=True, capture_output=True)


class Authority:
    def __init__(self, folder, name):
        self.folder = Path(folder, name)
        self.folder.mkdir()
        (self.folder / "index").touch()
        (self.folder / "serial").write_text("01\n")
        (self.folder / "config").write_text(AUTHORITY)
        run(self.folder, "req", "-x509", *KEY, "-keyout", "key", "-out", "root.pem", "-days", 30,
            "-subj", f"/CN={name}", "-addext", "basicConstraints=critical,CA:TRUE")
        self.root = self.folder / "root.pem"

    def issue(self, name, addresses, start="20200101000000Z", end="20991231000000Z"):
        """The path of a certificate with its key."""
        names = ",".join(f"IP:{address}" for address in addresses)
        run(self.folder, "req", *KEY, "-keyout", f"{name}.key", "-out", f"{name}.csr", "-subj",
            f"/CN={name}", "-addext", f"subjectAltName={names}")
        run(self.folder, "ca", "-batch", "-notext", "-config", "config", "-cert", "root.pem", "-keyfile", "key", "-in",
            f"{name}.csr", "-out", f"{name}.crt", "-startdate", start, "-enddate", end)
        path = self.folder / f"{name}.pem"
        path.write_text((self.folder / f"{name}.crt").read_text() + (self.folder / f"{name}.key").read_text())
        return path
