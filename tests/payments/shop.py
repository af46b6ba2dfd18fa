"""kelpay-shop, driven with real input, against kelpay-sandbox over HTTPS.

Each run of the shop has a state folder of its own. What the service saw is read from its journal, which masks card data.
"""

import argparse
import hashlib
import hmac
import json
import os
import re
import stat
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

OPTIONS = argparse.Namespace()

CANCELLED = ("2525342", "کاربر از انجام تراکنش منصرف شد")
EXPIRED = ("2525343", "مدت زمان تراکنش به پایان رسید")
INVALID_MERCHANT = ("2525344", "پذیرنده نامعتبر")
SERVER_ERROR = ("2525345", "خطا در ارتباط با سرور")
NONE = {"outcome": "none"}
KEYS = ["success", "code", "description", "reference", "merchantReference"]


def card(scenario=0, issuer="603799"):
    """A card number that passes the check digit and asks the sandbox for a scenario."""
    digits = f"{issuer}000000{scenario:03}"
    total = 0
    for index, digit in enumerate(digits):
        doubled = int(digit) * (2 if index % 2 == 0 else 1)
        total += doubled - 9 if doubled > 9 else doubled
    return digits + str(-total % 10)


def mobile(scenario=0):
    return f"0912000{scenario:04}"


def failure(code, description):
    return dict(zip(KEYS, [False, code, description, "", ""]))


class Run:
    """One run of the shop: exit code, what it printed, and what the service saw meanwhile."""

    def __init__(self, code, output, log, journal):
        self.code = code
        self.lines = output.splitlines()
        self.outcome = json.loads(self.lines[0]) if self.lines else None
        self.log = log
        self.journal = journal

    def exchanges(self, kind):
        return [entry for entry in self.journal if entry["kind"] == kind]

    def detail(self):
        """The nine fields of the one payment, as the journal masks them."""
        (payment,) = self.exchanges("payment")
        return payment["request"]["ap"]["r"].split("|")

    def sent_exactly(self, *fields):
        """Whether the one payment's nine fields were these; None stands for the token, and for what the journal shows."""
        (payment,) = self.exchanges("payment")
        whole = "|".join(shown if field is None else field for field, shown in zip(fields, self.detail(), strict=True))
        key = Path(OPTIONS.identity, "envelope.key").read_bytes()
        return payment["fingerprint"] == hmac.new(key, whole.encode(), hashlib.sha256).hexdigest()


class PaymentTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="kelpay-payments-")
        cls.journal_path = Path(cls.folder.name, "journal")
        cls.service = subprocess.Popen(
            [f"{OPTIONS.bin}/kelpay-sandbox", "--host", OPTIONS.host, "--identity", OPTIONS.identity, "--journal",
             str(cls.journal_path), "--exit-after", "380", "--die-with-parent"], stdout=subprocess.PIPE, text=True)
        line = cls.service.stdout.readline()
        assert "listens on" in line, "the sandbox did not start"

    @classmethod
    def tearDownClass(cls):
        cls.service.terminate()
        cls.service.wait(10)
        cls.service.stdout.close()
        cls.folder.cleanup()

    def state(self):
        return tempfile.mkdtemp(dir=self.folder.name)

    def journal(self):
        text = self.journal_path.read_text() if self.journal_path.exists() else ""
        return [json.loads(line) for line in text.splitlines()]

    def environment(self, state=None, host=None, display=True, **changes):
        env = {key: value for key, value in os.environ.items()
               if key not in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LC_ALL", "LANG", "LANGUAGE")}
        env |= {"XDG_DATA_HOME": state or self.state(), "KELPAY_SERVICE_HOST": host or OPTIONS.host,
                "KELPAY_IP_ECHO": f"https://{OPTIONS.host}:1443/", "LANG": "C.UTF-8",
                "QTWEBENGINE_DISABLE_SANDBOX": "1", "ASAN_OPTIONS": "detect_leaks=0"}
        if display:
            env |= {"QT_QPA_PLATFORM": "offscreen", "QT_QUICK_BACKEND": "software"}
        return env | changes

    def shop(self, *arguments, **environment):
        before = len(self.journal())
        env = self.environment(**environment)
        done = subprocess.run([f"{OPTIONS.bin}/kelpay-shop", *arguments], env=env, capture_output=True, text=True,
                              timeout=180)
        self.assert_nothing_secret(done.stdout + done.stderr, arguments)
        return Run(done.returncode, done.stdout, done.stderr, self.journal()[before:])

    def pay(self, *arguments, **keywords):
        return self.shop("--auto", *arguments, **keywords)

    def assert_nothing_secret(self, output, arguments):
        for option, value in zip(arguments, arguments[1:]):
            if option == "--card":
                self.assertNotIn(value, output)
        self.assertNotIn(card(), output)

    def assert_outcome(self, run, expected):
        self.assertEqual(run.lines and len(run.lines), 1, run.log)
        self.assertEqual(list(run.outcome), list(expected), run.log)
        self.assertEqual(run.outcome, expected, run.log)
        self.assertEqual(run.code, 3 if expected == NONE else 0, run.log)

    def assert_success(self, run):
        self.assertEqual(run.code, 0, run.log)
        self.assertEqual(len(run.lines), 1, run.log)
        self.assertEqual(list(run.outcome), KEYS)
        self.assertEqual((run.outcome["success"], run.outcome["code"], run.outcome["description"]),
                         (True, "1", "Successful"), run.log)
        self.assertRegex(run.outcome["reference"], r"^\d{12}$")
        self.assertRegex(run.outcome["merchantReference"], r"^\d{10}$")


def run_groups():
    """The groups that the command line names, from the script that calls this."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--identity", required=True)
    parser.add_argument("--host", default="127.0.0.2")
    parser.add_argument("groups", nargs="*")
    parser.parse_args(namespace=OPTIONS)
    unittest.main(argv=[sys.argv[0], *OPTIONS.groups], verbosity=2)
