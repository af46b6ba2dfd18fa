"""What the groups of durability.py share: the process under test, its folder, what they count."""

import argparse
import os
import random
import shutil
import subprocess
import tempfile
import time
import unittest
from collections import Counter
from pathlib import Path

OPTIONS = argparse.Namespace()  # what main() was asked for
RANDOM = random.Random()
COUNTS = Counter({name: 0 for name in (
    "kills", "acknowledged writes", "values checked after kills", "lost", "torn", "increments", "damaged files",
    "files repaired", "keychain values kept in damaged files", "skipped mounts")})
LONGEST = {"call": (0.0, ""), "sync": 0.0}

STORES = {"d": "defaults.sqlite", "k": "keychain.sqlite"}
NOT_AVAILABLE = "-25291"
DAMAGED = "-26275"


def measure_sync(folder):
    """What the disk itself takes to sync a small write; the longest of the run is kept."""
    with open(Path(folder, "sync"), "wb") as file:
        for _ in range(5):
            start = time.monotonic()
            file.write(bytes(4096))
            file.flush()
            os.fsync(file.fileno())
            LONGEST["sync"] = max(LONGEST["sync"], time.monotonic() - start)


class Worker:
    """One process with the stores of `folder` open; `mounted` gives it a small disk of its own there."""

    def __init__(self, folder, mounted=False):
        self.log_file = tempfile.TemporaryFile("w+")
        command = [OPTIONS.worker]
        if mounted:
            mount = 'mount -t tmpfs -o size=2m,mode=700 none "$0" && exec "$1"'
            command = ["unshare", "-Urm", "sh", "-c", mount, str(folder), OPTIONS.worker]
        self.process = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=self.log_file,
                                        text=True)
        self.ask("open", folder)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.communicate()
        self.log_file.close()

    def start(self, *words):
        print(*words, file=self.process.stdin, flush=True)

    def ask(self, *words):
        self.start(*words)
        return self.answer(" ".join(map(str, words)))

    def answer(self, what="", isTimed=True):
        line = self.process.stdout.readline().split()
        if len(line) != 2:
            raise AssertionError(f"the process ended in {what!r} with {self.process.wait()}: {self.log()}")
        if isTimed:
            LONGEST["call"] = max(LONGEST["call"], (int(line[1]) / 1e6, what))
        return line[0]

    def log(self):
        """What it logged since the last question."""
        text = os.pread(self.log_file.fileno(), 1 << 20, getattr(self, "log_read", 0)).decode()
        self.log_read = getattr(self, "log_read", 0) + len(text.encode())
        return text


class Folder(unittest.TestCase):
    def setUp(self):
        self.parent = tempfile.TemporaryDirectory(prefix="kelpay-durability-", dir=OPTIONS.folder)
        self.addCleanup(self.parent.cleanup)
        self.folder = Path(self.parent.name, "state")
        self.folder.mkdir(mode=0o700)
        measure_sync(self.parent.name)

    def fresh(self):
        shutil.rmtree(self.folder)
        self.folder.mkdir(mode=0o700)
