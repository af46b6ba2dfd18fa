#!/usr/bin/env python3
"""Payments end to end.

    payments.py --bin FOLDER --identity FOLDER --host 127.0.0.x [GROUP ...]
"""

import stat
import subprocess
import unittest
from pathlib import Path

from shop import CANCELLED, EXPIRED, INVALID_MERCHANT, NONE, OPTIONS, SERVER_ERROR, PaymentTest, card, failure, mobile, run_groups


class Outcomes(PaymentTest):
    """Every row of the outcome table, and the two silences."""

    def test_success_with_a_picture_of_every_screen(self):
        pictures = Path(self.folder.name, "pictures")
        self.assert_success(self.pay("--screenshots", str(pictures)))
        names = sorted(path.name for path in pictures.iterdir())
        self.assertEqual([name[3:] for name in names],
                         ["shop.png", "payment.png", "payment-filled.png", "receipt.png", "outcome.png"])
        for path in pictures.iterdir():
            self.assertGreater(path.stat().st_size, 8000, f"{path.name} looks empty")

    def test_failures(self):
        table = [
            ("declined by the service", ["--card", card(51)], ("51", "موجودی حساب کافی نیست")),
            ("token refused", ["--msisdn", mobile(410)], ("410", "پذیرنده ناشناخته است")),
            ("cancelled", ["--cancel"], CANCELLED),
            ("time over", ["--idle", "--clock-rate", "250"], EXPIRED),
            ("no verification link", ["--msisdn", mobile(110), "--verify"], INVALID_MERCHANT),
        ]
        for name, arguments, outcome in table:
            with self.subTest(name):
                self.assert_outcome(self.pay(*arguments), failure(*outcome))

    def test_silences(self):
        run = self.pay("--simulator", "--timeout", "4")
        self.assert_outcome(run, NONE)
        self.assertEqual(run.journal, [])
        run = self.pay("--msisdn", mobile(522), "--timeout", "5")
        self.assert_outcome(run, NONE)
        self.assertEqual(len(run.exchanges("token")), 1)
        self.assertIn("URLSession Task Failed:", run.log)

    def test_kept_payment_screen(self):
        """For one merchant the payment screen stays after the receipt, for its neighbour it goes."""
        for merchant, kept in [("3086", True), ("3085", False)]:
            with self.subTest(merchant):
                pictures = Path(self.state())
                self.assert_success(self.pay("--merchant", merchant, "--screenshots", str(pictures)))
                payment, outcome = ((pictures / name).stat().st_size for name in ("02-payment.png", "05-outcome.png"))
                self.assertEqual(outcome > 0.7 * payment, kept)


class Request(PaymentTest):
    """What travels."""

    def test_both_exchanges(self):
        run = self.pay("--merchant", "1001", "--additional", "سفارش \"۷\" / \\", "--params", "724|1250000|کتاب")
        self.assert_success(run)
        for kind, m, pc, ad in [("token", 100, 100003, "سفارش \"۷\" / \\"), ("payment", 200, 200000, "NA")]:
            (entry,) = run.exchanges(kind)
            request = entry["request"]
            self.assertEqual(entry["status"], 200, entry)
            self.assertEqual(sorted(request), sorted("vi ar m ct ti cs dd ai di ap pc ad pn mi fp".split()))
            self.assertEqual((request["m"], request["pc"], request["ad"]), (m, pc, {"r": ad}))
            self.assertEqual((request["vi"], request["mi"]), ("100;100", "1001"))
            self.assertEqual(request["ar"], f"{mobile()};127.0.0.1;")
            self.assertEqual((request["cs"], request["pn"]), ("org.example.kelpay-shop",) * 2)
            self.assertRegex(request["di"], r"^[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}$")
            self.assertEqual(request["di"], request["fp"])
            self.assertRegex(request["ct"], r"^\d{4}-\d\d-\d\d (0[1-9]|1[0-2]):\d\d:\d\d$")
            self.assertTrue(100 <= request["ti"] <= 800)
            self.assertRegex(request["dd"], r"^APPL\|.+\|.+\|.+\|.+$")
            self.assertEqual(sorted(request["ap"]), ["r", "v"])
            self.assertIsInstance(request["ap"]["v"], str)
            self.assertEqual(entry["envelope"]["longestLine"], 76)
        token, payment = run.exchanges("token")[0]["request"], run.exchanges("payment")[0]["request"]
        self.assertEqual(token["ap"]["r"], "724|1250000|کتاب")
        self.assertEqual(token["ai"], "0")
        self.assertRegex(payment["ai"], r"^\d{4}$")
        self.assertEqual(token["ti"], payment["ti"])
        self.assertEqual(len(payment["ap"]["r"].split("|")), 9)

    def test_trace_goes_up_by_one(self):
        state = self.state()
        traces = []
        for _ in range(3):
            run = self.shop("--cancel", state=state)
            traces.append(run.exchanges("token")[0]["request"]["ti"])
        self.assertEqual(traces, list(range(traces[0], traces[0] + 3)))
        for path in Path(state).rglob("*"):
            mode = stat.S_IMODE(path.stat().st_mode)
            if "kelpay" in path.name or path.parent.name == "kelpay":
                self.assertFalse(mode & 0o077 and path.parent.name == "kelpay", f"{path} is {mode:o}")

    def test_application_identifier(self):
        table = [
            (["--merchant", "319", "--ziaprod"], "ir.kel.tobrel"),
            (["--ziaprod"], "com.dorinepay.724"),
        ]
        for arguments, identifier in table:
            with self.subTest(arguments):
                (token,) = self.shop("--cancel", *arguments).exchanges("token")
                self.assertEqual((token["request"]["cs"], token["request"]["pn"]), (identifier, identifier))

    def test_locale_changes_only_the_time_and_the_model(self):
        state = self.state()
        requests = []
        for locale in ("C", "fa_IR.UTF-8"):
            (token,) = self.shop("--cancel", state=state, LANG=locale, LC_ALL=locale).exchanges("token")
            request = token["request"]
            requests.append({key: value for key, value in request.items() if key not in ("ct", "ti", "ai")})
            requests[-1]["dd"] = request["dd"].rsplit("|", 1)[0]
        self.assertEqual(*requests)

    def test_shifted_fields(self):
        (token,) = self.shop("--cancel", "--additional", "a||b|c").exchanges("token")
        self.assertEqual((token["request"]["ad"]["r"], token["request"]["ap"]["r"]), ("a", "b|c"))


TYPED = "6037991234567893"  # what the shop types


class Forms(PaymentTest):
    """What the payment screen sends for each form, read from the nine fields."""

    def test_forms(self):
        full = ["--cvv2", "1234", "--expiry", "99/05"]
        simple = ["12345", "5", "NA", "NA"]
        whole = ["12345", "59", "1234", "9905"]
        wallet = ["NA", "NA", "99", "NA", "NA"]
        table = [
            ("PIN only", [], [TYPED, *simple], "T"),
            ("full form by terminal", ["--msisdn", mobile(106), *full], [TYPED, *whole], "I"),
            ("full form by rule", ["--card", card(0, "636214"), *full], [card(0, "636214"), *whole], "I"),
            ("PIN only by rule", ["--card", card(0, "505416")], [card(0, "505416"), *simple], "T"),
            ("above the limit", ["--params", "724|2000001|x", *full], [TYPED, *whole], "I"),
            ("saved card", ["--msisdn", mobile(101), "--saved", "1"], ["70010001", *simple], "T"),
            ("fixed default card", ["--msisdn", mobile(105)], ["70010001", *simple], "T"),
            ("wallet", ["--msisdn", mobile(107), "--wallet"], wallet, "T"),
            ("wallet without the first terminal", ["--msisdn", mobile(109), "--wallet"], wallet, "I"),
            ("wallet declined", ["--msisdn", mobile(107)], [TYPED, *simple], "T"),
        ]
        for name, arguments, fields, terminal in table:
            with self.subTest(name):
                run = self.pay("--pin", "12345", *arguments)
                self.assert_success(run)
                self.assertTrue(run.sent_exactly("724", None, *fields, None, None), run.detail())
                self.assertTrue(run.detail()[8].startswith(terminal))

    def test_a_card_that_may_not_pay_shows_the_banner_and_keeps_the_form(self):
        run = self.pay("--card", card(0, "606373"))
        self.assertEqual(run.detail()[4], "5")

    def test_inputs_that_fail_the_check_send_nothing(self):
        for arguments in (["--pin", "1234"], ["--card", "60379912345678"], ["--saved", "0", "--msisdn", mobile(101)]):
            with self.subTest(arguments):
                run = self.pay(*arguments, "--timeout", "12")
                self.assert_outcome(run, NONE)
                self.assertEqual(run.exchanges("payment"), [])

    def test_verification_page_and_back(self):
        self.assert_success(self.pay("--verify"))


class InputMeans(PaymentTest):
    """The same two payments at the smallest size, by everybody."""

    def test_what_travels_is_the_same_whoever_pays(self):
        keys = {"QT_IM_MODULE": "qtvirtualkeyboard", "QT_VIRTUALKEYBOARD_DESKTOP_DISABLE": "1"}
        table = [
            ("typed", ["--msisdn", mobile(106), "--expiry", "04/11"], [TYPED, "12345", "59", "123", "0411"]),
            ("saved", ["--msisdn", mobile(101), "--params", "724|2000001|x", "--saved", "1"],
             ["70010001", "12345", "59", "123", "0512"]),
        ]
        for hands in ("pointer", "touch", "keyboard", "accessibility", "on-screen"):
            for name, arguments, fields in table:
                with self.subTest(hands=hands, card=name):
                    run = self.pay("--input", hands, "--size", "320x568", *arguments,
                                   **(keys if hands == "on-screen" else {}))
                    self.assert_success(run)
                    self.assertTrue(run.sent_exactly("724", None, *fields, None, None), run.detail())


class Deployment(PaymentTest):
    """Deployment data missing or broken, nothing to reach, nowhere to write."""

    def overlay(self, **files):
        folder = Path(self.state())
        for name, content in files.items():
            (folder / name.replace("__", "-").replace("_", ".")).write_bytes(content)
        return str(folder)

    def test_a_broken_certificate_sends_no_plain_text(self):
        run = self.pay(KELPAY_RESOURCES=self.overlay(IOSNewCert_pfx=b"broken"))
        self.assert_outcome(run, failure(*SERVER_ERROR))
        self.assertIn("IOSNewCert.pfx", run.log)
        (entry,) = run.exchanges("unreadable")
        self.assertEqual(entry["status"], 400)

    def test_a_stranger_is_not_trusted(self):
        folder = self.state()
        subprocess.run([f"{OPTIONS.bin}/kelpay-sandbox", "--make-identity", folder], check=True)
        anchors = Path(folder, "service-anchors.pem").read_bytes()
        for content in (anchors, b"no certificate at all"):
            run = self.pay("--timeout", "5", KELPAY_RESOURCES=self.overlay(service__anchors_pem=content))
            self.assert_outcome(run, NONE)
            self.assertEqual(run.exchanges("token"), [])
            self.assertIn("URLSession Task Failed:", run.log)

    def test_a_state_folder_that_cannot_be_written_names_what_to_do(self):
        run = self.pay("--timeout", "5", state="/proc/kelpay-no-such-folder")
        self.assert_outcome(run, NONE)
        self.assertIn("write access", run.log)
        self.assertEqual(run.exchanges("token"), [])


class Console(PaymentTest):
    """What works without a screen, and the command line."""

    def test_lists(self):
        for name in ("internet", "charge"):
            run = self.shop("--list", name, display=False)
            self.assertEqual((run.code, list(run.outcome), run.outcome["ok"]), (0, ["ok", "list"], True), run.log)
            self.assertTrue(run.outcome["list"])
            run = self.shop("--list", name, display=False, host="127.0.0.250")
            self.assertEqual((run.code, run.outcome), (0, {"ok": False, "list": {}}))

    def test_bad_usage(self):
        for arguments in (["--nonsense"], ["--timeout", "soon"], ["--list", "cats"], ["--expiry", "1/2"], ["--card", "x"],
                          ["pay"], ["--clock-rate", "0"], ["--saved", "-1"]):
            run = self.shop(*arguments)
            self.assertEqual((run.code, run.lines), (2, []), arguments)
            self.assertIn("kelpay-shop: ", run.log)


class Sanitized(PaymentTest):
    """A few payments; a finding of the sanitizers fails it."""

    def test_roads(self):
        runs = [self.pay(), self.pay("--msisdn", mobile(106)), self.pay("--msisdn", mobile(101), "--saved", "1")]
        for run in runs:
            self.assert_success(run)
            self.assertNotRegex(run.log, r"AddressSanitizer|runtime error:")
        run = self.shop("--cancel", "--msisdn", mobile(510))
        self.assert_outcome(run, failure(*CANCELLED))
        self.assertNotRegex(run.log, r"AddressSanitizer|runtime error:")


class Unported(PaymentTest):
    """One pass without any system's own sources: what a port would tell is left out, and nothing else."""

    def test_pays_and_tells_what_qt_knows(self):
        state = self.state()
        run = self.pay("--msisdn", mobile(106), state=state)
        self.assert_success(run)
        about = self.shop("--about", state=state).outcome
        self.assertRegex(about["deviceData"], r"^APPL(\|[^|]+){3}\|Device$")
        self.assertEqual([about[name] for name in ("vulnerabilities", "isSimulator", "isBiometricIDAvailable")],
                         ["", "NO", "NO"])
        (token,) = run.exchanges("token")
        self.assertEqual(about["uuid"], token["request"]["di"], "the random identifier is not kept")
        (stranger,) = self.shop("--cancel").exchanges("token")
        self.assertNotEqual(about["uuid"], stranger["request"]["di"])

    def test_needs_no_bus(self):
        needed = subprocess.check_output(["readelf", "--dynamic", f"{OPTIONS.bin}/libkelpay-sandbox.so"], text=True)
        self.assertIn("libQt6Core", needed)
        self.assertNotIn("DBus", needed)


if __name__ == "__main__":
    run_groups()
