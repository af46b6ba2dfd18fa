#!/usr/bin/env python3
"""One whole payment again and again, each time with another fallible call failing once: allocations, writes, syncs,
renames, opens, random bytes, sockets, threads. Of kind "site" is one allocation for each way of calls that leads to one.

    torture.py --bin FOLDER --identity FOLDER [--sanitized HOST] [--most N] [--jobs N] [KIND ...]

Held: nothing of ours crashes (an allocation that fails inside a library may end the process there, counted); the service
gets one POST of a payment at most; one that it got and the host was not told of is listed by the ledger; afterwards the
same state takes a payment as if nothing had been; nothing leaks, which HOST, under the address sanitizer, tells of the
kinds that are no allocation. --most: so many of each kind, spread evenly; all of them without.
"""

import argparse
import json
import os
import random
import shutil
import signal
import subprocess
import sys
import tempfile
from collections import Counter
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from queue import Queue

ALLOCATIONS = ["memory", "site", "new"]
KINDS = [*ALLOCATIONS, "write", "sync", "rename", "open", "random", "socket", "thread"]


class Bench:
    """A service of its own, so that what it was asked belongs to one payment."""

    def __init__(self, options, folder, number):
        self.options, self.folder = options, Path(folder) / str(number)
        self.folder.mkdir()
        host = f"127.0.0.{19 + number}"  # those that the certificate names and no other test takes
        self.journal = self.folder / "journal"
        self.service = subprocess.Popen(
            [f"{options.bin}/kelpay-sandbox", "--host", host, "--identity", options.identity, "--journal", self.journal,
             "--die-with-parent"], stdout=subprocess.PIPE, text=True)
        assert "listens on" in self.service.stdout.readline(), "the sandbox did not start"
        self.env = os.environ | {"KELPAY_SERVICE_HOST": host, "KELPAY_IP_ECHO": f"https://{host}:1443/",
                                 "QT_NO_GLIB": "1", "KELPAY_RESOURCES": options.identity, "XDG_DATA_HOME": str(self.folder / "state"), "LANG": "C.UTF-8"}

    def pay(self, kind=None, at=0, program=None):
        """(exit status, what the host said, its log, the POSTs of a payment that arrived)"""
        torture = {"LD_PRELOAD": f"{self.options.bin}/libkelpay-torture.so", "TORTURE_KIND": kind, "TORTURE_AT": str(at)}
        before = self.journal.stat().st_size if self.journal.exists() else 0
        reading, writing = os.pipe()
        try:
            run = subprocess.run([program or f"{self.options.bin}/kelpay-fault-host", "whole"],
                                 env=self.env | (torture if kind else {}), stdin=reading, capture_output=True, text=True, timeout=80)
        except subprocess.TimeoutExpired as late:
            return "late", None, (late.stderr or b"").decode(), 0
        finally:
            os.close(reading)
            os.close(writing)
        with open(self.journal) as journal:
            journal.seek(before)
            posts = sum(json.loads(line)["kind"] == "payment" for line in journal)
        said = json.loads(run.stdout) if run.stdout.startswith("{") else None
        return run.returncode, said, run.stderr, posts

    def torture(self, kind, at):
        """What came of it, and what is wrong with that."""
        shutil.rmtree(self.folder / "state", ignore_errors=True)
        # The sanitizer allocates for itself.
        status, said, log, posts = self.pay(kind, at, None if kind in ALLOCATIONS else self.options.sanitized)
        ended = ("ended" if status == -signal.SIGABRT and "bad_alloc" in log else
                 "crashed in a library" if status == -signal.SIGSEGV and "torture: a library crashed" in log else None)
        told = "told\n" in log
        wrong = []
        if status != 0 and not ended:
            wrong.append(f"ended with {status}: {log[-300:]}")
        if posts > 1:
            wrong.append(f"{posts} POSTs of one payment")
        again, after, log, _ = self.pay()
        if again != 0 or not after or after["called"] != [[True, "0"]]:
            wrong.append(f"the next payment came to {again} {after} {log[-300:]}")
        elif posts and not told and after["listed"] < 1:
            wrong.append("the service got it, nobody was told, and the ledger does not list it")
        outcome = ended or ("paid" if said and said["called"] == [[True, "0"]] else "failed")
        return outcome, wrong


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--identity", required=True)
    parser.add_argument("--sanitized", metavar="HOST")
    parser.add_argument("--most", type=int)
    parser.add_argument("--jobs", type=int, choices=(1, 2), default=2)
    parser.add_argument("--threads", metavar="HOST", help="only one whole payment, by this program")
    parser.add_argument("kinds", nargs="*", default=KINDS)
    options = parser.parse_args()
    failures = 0
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(options.jobs) as pool:
        benches = Queue()
        for number in range(options.jobs):
            benches.put(Bench(options, folder, number))

        def take(job):
            bench = benches.get()
            try:
                return job, bench.torture(*job)
            finally:
                benches.put(bench)

        if options.threads:
            status, said, log, posts = benches.get().pay(program=options.threads)
            print(log[-3000:] if status else f"a payment under the thread sanitizer: {said['events']}")
            return status or posts != 1

        print(f"{'kind':<8} {'calls':>7} {'made to fail':>12}  what came of it")
        for kind in options.kinds:
            bench = benches.get()
            shutil.rmtree(bench.folder / "state", ignore_errors=True)
            status, _, log, posts = bench.pay(kind)
            benches.put(bench)
            assert status == 0 and posts == 1, (status, posts, log)
            calls = int(log.rsplit("torture: ", 1)[1])
            step = max(1, calls // options.most) if options.most else 1
            outcomes = Counter()
            chosen = [(kind, at) for at in range(1 + random.randrange(step), calls + 1, step)]
            for job, (outcome, wrong) in pool.map(take, chosen):
                outcomes[outcome] += 1
                failures += bool(wrong)
                for line in wrong:
                    print(f"FAIL {job[0]} {job[1]}: {line}", flush=True)
            print(f"{kind:<8} {calls:>7} {len(chosen):>12}  " + ", ".join(f"{n} {o}" for o, n in sorted(outcomes.items())),
                  flush=True)
    return 1 if failures else 0


sys.exit(main())
