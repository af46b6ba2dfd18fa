#!/usr/bin/env python3
"""A kiosk's day: kelpay-soak-host takes payments in random order against kelpay-sandbox and is started again whenever
one makes it quit. At the end what the payer did, what the host was told, what the service saw and what the ledger lists
have to agree, and memory, descriptors and threads have to be flat. Prints the table in docs/outcomes.md.

    soak.py --bin FOLDER --identity FOLDER [--host 127.0.0.x] SECONDS [SEED]
"""

import argparse
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from collections import Counter, defaultdict
from pathlib import Path

CANCELLED, EXPIRED, SERVER_ERROR = "2525342", "2525343", "2525345"
# What each kind owes: the callbacks' codes, payments submitted, whether it stays in the ledger.
OWED = {
    "approved": (["1"], 1, False),
    "declined": (["51"], 1, False),
    "refused": (["410"], 0, False),
    "token answered with 500": ([SERVER_ERROR], 0, False),
    "token cut": ([], 0, False),
    "cancelled": ([CANCELLED], 0, False),
    "cancelled on the way": ([CANCELLED], 1, True),
    "expired": ([EXPIRED], 0, False),
    "cut": ([CANCELLED], 1, True),
    "answered with 500": ([CANCELLED], 1, True),
    "unreadable": (["0"], 1, True),
    "abandoned": ([], 0, False),
    "abandoned on the way": ([], 1, True),
    "receipt lost its window": (["1"], 1, False),
    "quit over the receipt": (["1"], 1, False),
    "quit on the way": ([], 1, True),
}


def parse():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--identity", required=True)
    parser.add_argument("--host", default="127.0.0.18")
    parser.add_argument("seconds", type=float)
    parser.add_argument("seed", type=int, nargs="?", default=int(time.time()))
    return parser.parse_args()


class Day:
    def __init__(self, options, folder):
        self.host = f"{options.bin}/kelpay-soak-host"
        self.seed = options.seed
        self.log = Path(folder, "log")
        self.journal_path = Path(folder, "journal")
        self.env = os.environ | {
            "XDG_DATA_HOME": folder, "KELPAY_SERVICE_HOST": options.host,
            "KELPAY_IP_ECHO": f"https://{options.host}:1443/",
            "QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software", "LANG": "C.UTF-8"}
        self.service = subprocess.Popen(
            [f"{options.bin}/kelpay-sandbox", "--host", options.host, "--identity", options.identity, "--journal",
             str(self.journal_path), "--die-with-parent"], stdout=subprocess.PIPE, text=True)
        assert "listens on" in self.service.stdout.readline(), "the sandbox did not start"

    def run_host(self, *arguments):
        with self.log.open("a") as log:
            done = subprocess.run([self.host, *map(str, arguments)], env=self.env, stdout=subprocess.PIPE, stderr=log,
                                  text=True)
        return done.returncode, [json.loads(line) for line in done.stdout.splitlines()]

    def run(self, seconds):
        """The payments, one list for each start of the host."""
        end = time.monotonic() + seconds
        starts = []
        while not starts or time.monotonic() < end:
            left = max(1, round(end - time.monotonic()))
            status, payments = self.run_host(left, self.seed, sum(map(len, starts)) + 1)
            assert status in (0, 10), f"the host ended with {status}: {self.log.read_text()[-2000:]}"
            starts.append(payments)
        return starts

    def journal(self):
        """For each payment's number how many requests of each kind the service saw."""
        numbers, seen = {}, defaultdict(Counter)
        for line in self.journal_path.read_text().splitlines():
            entry = json.loads(line)
            if entry["kind"] == "token":
                numbers[entry["token"]] = int(entry["request"]["ad"]["r"].removeprefix("soak-"))
            if entry["kind"] in ("token", "payment"):
                seen[numbers[entry["token"]]][entry["kind"]] += 1
            else:
                assert entry["kind"] == "ip", entry
        return seen


def disagreements(payments, seen, listed):
    for payment in payments:
        number, kind = payment["number"], payment["kind"]
        codes, submissions, stays = OWED[kind]
        facts = {
            "callbacks": (payment["codes"], codes),
            "submissions": (payment["submissions"], submissions),
            "token POSTs": (seen[number]["token"], 1),
            "payment POSTs": (seen[number]["payment"], submissions),
            "listed as unsettled": (listed[f"soak-{number}"], int(stays)),
            "waited in vain": (payment["late"], False),
        }
        for fact, (is_so, owed) in facts.items():
            if is_so != owed:
                yield f"payment {number} ({kind}): {fact} {is_so}, not {owed}"


def table(payments, seen, listed):
    yield "| Payment | Payments | Callbacks owed | made | Submissions | Payment POSTs | Listed as unsettled |"
    yield "|---|---|---|---|---|---|---|"
    rows = defaultdict(list)
    for payment in payments:
        rows[payment["kind"]].append(payment)

    def row(name, some):
        numbers = [payment["number"] for payment in some]
        return [name, len(some), sum(len(OWED[payment["kind"]][0]) for payment in some),
                sum(len(payment["codes"]) for payment in some), sum(payment["submissions"] for payment in some),
                sum(seen[number]["payment"] for number in numbers), sum(listed[f"soak-{number}"] for number in numbers)]
    for kind in OWED:
        yield "| " + " | ".join(map(str, row(kind, rows[kind]))) + " |"
    yield "| " + " | ".join(map(str, row("**all**", payments))) + " |"


def flatness(starts):
    """How the longest life of the host went, by its quarters; what grows for good, as text."""
    longest = max(starts, key=len)
    quarters = [longest[len(longest) * index // 4:len(longest) * (index + 1) // 4] for index in range(4)]
    medians = {name: [statistics.median(payment[name] for payment in quarter) for quarter in quarters]
               for name in ("memory", "descriptors", "threads")} if all(quarters) else {}
    lines = [f"The longest of {len(starts)} lives of the process took {len(longest)} payments; medians of its quarters: "
             + "; ".join(f"{name} {', '.join(f'{value:g}' for value in values)}" for name, values in medians.items())]
    bounds = {"memory": 2048 + 20 * len(longest), "descriptors": 4, "threads": 4}
    grown = [f"{name} grew: {values}" for name, values in medians.items()
             if len(longest) >= 40 and values[3] - values[1] > bounds[name]]
    return lines, grown


def main():
    options = parse()
    with tempfile.TemporaryDirectory(prefix="kelpay-soak-") as folder:
        day = Day(options, folder)
        starts = day.run(options.seconds)
        listed = Counter(attempt["additional"] for attempt in day.run_host("--unsettled")[1])
        day.service.terminate()
        day.service.wait(10)
        payments = [payment for start in starts for payment in start]
        seen = day.journal()
        log = day.log.read_text()
    lines, faults = flatness(starts)
    faults += disagreements(payments, seen, listed)
    faults += [f"{name} of no payment" for name in listed if int(name.removeprefix("soak-")) > len(payments)]
    faults += [f"secret in the log: {text}" for text in re.findall(r".*(?:603799\d{10}|12345).*", log)]
    print(f"{len(payments)} payments in {options.seconds / 60:g} minutes, seed {options.seed}\n")
    print("\n".join([*table(payments, seen, listed), "", *lines, *faults]))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
