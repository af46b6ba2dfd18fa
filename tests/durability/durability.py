#!/usr/bin/env python3
"""The user defaults and the file keychain under kills, full and read-only disks, damage and other processes.

    durability.py [--kills N] [--offsets N] [--seed N] STORE_WORKER [unittest arguments]

Prints what it counted; fails on any loss. The seed, which it prints, repeats a run.
"""

import argparse
import os
import random
import resource
import shutil
import subprocess
import sys
import time
import unittest
from collections import Counter
from pathlib import Path

from contention import Contention
from worker import COUNTS, DAMAGED, LONGEST, NOT_AVAILABLE, OPTIONS, RANDOM, STORES, Folder, Worker, measure_sync


class Kills(Folder):
    """What was acknowledged is there afterwards; what was not is wholly there or wholly absent."""

    def run_and_kill(self, number):
        with open(Path(self.parent.name, "calls"), "w+") as calls:
            process = subprocess.Popen([OPTIONS.worker], stdin=subprocess.PIPE, stdout=calls, stderr=subprocess.DEVNULL,
                                       text=True)
            process.stdin.write(f"open {self.folder}\nloop {RANDOM.randrange(1, 1 << 31)} {number}\n")
            process.stdin.flush()
            end = time.monotonic() + 20
            # Half the kills meet the start of a process, where files are made and logs of changes are read.
            if RANDOM.random() < 0.5:
                time.sleep(RANDOM.uniform(0.005, 0.08))
            else:
                while os.fstat(calls.fileno()).st_size < 20 and time.monotonic() < end:
                    time.sleep(0.001)
                time.sleep(RANDOM.uniform(0, 0.06))
            process.kill()
            process.communicate()
            calls.seek(0)
            return [line.split() for line in calls if line.endswith("\n") and line[:4] in ("call", "done")]

    def test_killed_writers(self):
        expected = {}
        number = 1
        end = time.monotonic() + 0.6 * OPTIONS.kills + 30
        for kill in range(OPTIONS.kills):
            self.assertLess(time.monotonic(), end, "the disk is too slow for this many kills")
            if kill % 5 == 0:
                self.fresh()
                expected = {(store, f"k{key}"): {"absent"} for store in STORES for key in range(6)}
            calls = self.run_and_kill(number)
            number += len(calls) + 1
            COUNTS["kills"] += 1
            for kind, store, key, value in calls:
                if kind == "done":
                    COUNTS["acknowledged writes"] += 1
                    expected[store, key] = {value}
                else:
                    expected[store, key] = expected[store, key] | {value}
            with Worker(self.folder) as reader:
                for (store, key), values in expected.items():
                    found = reader.ask("read", store, key)
                    COUNTS["values checked after kills"] += 1
                    COUNTS["torn"] += found == "torn"
                    COUNTS["lost"] += found != "torn" and found not in values
                    self.assertIn(found, values, f"{store} {key} after kill {kill}")
                    expected[store, key] = {found}
            if kill % 50 == 0:
                measure_sync(self.parent.name)

    def test_killed_while_the_master_key_was_made(self):
        for rest in (b"", b"x" * 10, b"x" * 32):
            self.fresh()
            Path(self.folder, "keychain.key.new").write_bytes(rest)
            with Worker(self.folder) as worker:
                self.assertEqual(worker.ask("write", "k", "a", 1, 100), "0")
                self.assertEqual(worker.ask("read", "k", "a"), "value:1")
            self.assertEqual(sorted(path.name for path in self.folder.glob("keychain.key*")), ["keychain.key"])


class Disks(Folder):
    """On a disk of its own: full, then roomy again; read-only, then writable again."""

    def mounted(self):
        worker = None
        try:
            worker = Worker(self.folder, mounted=True)
            self.addCleanup(worker.__exit__)
            return worker
        except (AssertionError, BrokenPipeError, FileNotFoundError):
            COUNTS["skipped mounts"] += 1
            self.skipTest("this process may not mount")

    def expect_read(self, worker, values):
        for (store, key), value in values.items():
            self.assertEqual(worker.ask("read", store, key), value, f"{store} {key}: {worker.log()}")

    def fill_both(self, worker):
        for store in STORES:
            for key in range(4):
                self.assertEqual(worker.ask("write", store, f"k{key}", key + 1, 900), "0")
        return {(store, f"k{key}"): f"value:{key + 1}" for store in STORES for key in range(4)}

    def expect_refused(self, worker, advice):
        """The keychain refuses, the defaults go on in memory, and both say which file it is and what to do."""
        worker.log()
        self.assertEqual(worker.ask("write", "k", "k0", 91, 30_000), NOT_AVAILABLE)
        log = worker.log()
        self.assertIn(f"{self.folder}/keychain.sqlite can't be", log)
        self.assertIn(advice, log)
        worker.ask("write", "d", "k0", 92, 30_000)
        log = worker.log()
        self.assertIn(f"{self.folder}/defaults.sqlite can't be", log)
        self.assertIn("in memory", log)
        self.assertIn(advice, log)
        self.assertEqual(worker.ask("read", "d", "k0"), "value:92")

    def expect_writable_again(self, worker, values):
        for store in STORES:
            self.assertEqual(worker.ask("write", store, "k1", 93, 900), "0")
        values = values | {("d", "k0"): "value:92", ("d", "k1"): "value:93", ("k", "k1"): "value:93"}
        worker.ask("open", self.folder)
        self.expect_read(worker, values)

    def test_full_disk(self):
        worker = self.mounted()
        values = self.fill_both(worker)
        self.assertEqual(worker.ask("fill"), "0")
        self.expect_refused(worker, "check that the disk has room")
        self.expect_read(worker, values | {("d", "k0"): "value:92"})
        # A process that starts on the full disk reads what is there.
        worker.ask("close")
        worker.ask("fill")
        worker.ask("open", self.folder)
        self.expect_read(worker, values)
        self.expect_refused(worker, "check that the disk has room")
        self.assertEqual(worker.ask("room"), "0")
        self.expect_writable_again(worker, values)

    def test_full_disk_from_the_start(self):
        worker = self.mounted()
        worker.ask("fill")
        self.expect_refused(worker, "check that the disk has room")
        self.assertEqual(worker.ask("room"), "0")
        self.expect_writable_again(worker, {})

    def test_damage_where_nothing_can_be_written(self):
        for close, open_again in ((["fill"], ["room"]), (["remount", "ro"], ["remount", "rw"])):
            self.check_damage(close, open_again)

    def check_damage(self, close, open_again):
        worker = self.mounted()
        keys = [f"k{key}" for key in range(40)]
        for store in STORES:
            for key in keys:
                self.assertEqual(worker.ask("write", store, key, 1, 900), "0")
        worker.ask("close")
        for name in STORES.values():
            file = Path(f"/proc/{worker.process.pid}/root{self.folder}/{name}")
            file.write_bytes(file.read_bytes()[:-4096])
        self.assertEqual(worker.ask(*close), "0")
        worker.ask("open", self.folder)
        for store, name in STORES.items():
            readable = [key for key in keys if worker.ask("read", store, key) == "value:1"]
            log = worker.log()
            self.assertGreater(len(readable), 30, f"{close}, {name}: {log}")
            self.assertIn(f"{self.folder}/{name} is damaged and can't be replaced: check that the disk has room", log)
            status = worker.ask("write", store, readable[0], 2, 900)
            self.assertEqual(status, NOT_AVAILABLE if store == "k" else "0")
            self.assertEqual(worker.ask("read", store, readable[0]), "value:1" if store == "k" else "value:2")
            worker.log()
        self.assertEqual(worker.ask(*open_again), "0")
        for store in STORES:
            self.assertEqual(worker.ask("write", store, "k0", 3, 900), "0")
            self.assertIn("was damaged and is made anew", worker.log())
        worker.ask("open", self.folder)
        for store in STORES:
            found = Counter(worker.ask("read", store, key) for key in keys)
            self.assertLessEqual(set(found), {"value:1", "value:2", "value:3", "absent"})
            self.assertGreater(found["value:1"], 30, "what could be read was kept")
        self.assertEqual(worker.log(), "")

    def test_read_only_disk(self):
        worker = self.mounted()
        values = self.fill_both(worker)
        for is_copy in (False, True):  # a copy has the main files only
            worker.ask("close")
            self.assertEqual(worker.ask("remount", "rw"), "0")
            for suffix in ("-wal", "-shm"):
                for name in STORES.values() if is_copy else ():
                    Path(f"/proc/{worker.process.pid}/root{self.folder}/{name}{suffix}").unlink()
            self.assertEqual(worker.ask("remount", "ro"), "0")
            worker.ask("open", self.folder)
            self.expect_read(worker, values)
        self.expect_refused(worker, "that this user may write there")
        self.assertEqual(worker.ask("remount", "rw"), "0")
        self.expect_writable_again(worker, values)


class Damage(Folder):
    """Every damaged file can be read as far as it goes, or is reported, and takes values again."""

    KEYS = {f"k{key}": [10, 200, 900, 9_000, 30_000, 60][key] for key in range(6)}

    def damage(self, original, offsets):
        for offset in offsets:
            yield f"bit at {offset}", original[:offset] + bytes([original[offset] ^ 1 << RANDOM.randrange(8)]) + \
                original[offset + 1:]
        for size in {0, 1, 16, 100, len(original) // 2, len(original) - 1} | set(offsets[::5]):
            if size < len(original):
                yield f"cut to {size}", original[:size]
        if len(original) > 8192:
            for _ in range(5):
                at = RANDOM.randrange(len(original) - 4096) & ~4095
                yield f"zeros at {at}", original[:at] + bytes(4096) + original[at + 4096:]

    def check(self, worker, store, what):
        log = worker.log()
        for key in self.KEYS:
            found = worker.ask("read", store, key)
            log += worker.log()
            if store == "k":
                self.assertIn(found, {"value:1", "value:2", "absent", DAMAGED}, f"{what} {key}: {log}")
                COUNTS["keychain values kept in damaged files"] += found == "value:2"
            if found == DAMAGED:
                self.assertIn(f"a value in the keychain {self.folder} is damaged", log)
        for number, key in enumerate(self.KEYS):
            status = worker.ask("write", store, key, 100 + number, 500)
            log += worker.log()
            self.assertEqual(status, "0", f"{what} {key}: {log}")
        worker.ask("open", self.folder)
        for number, key in enumerate(self.KEYS):
            self.assertEqual(worker.ask("read", store, key), f"value:{100 + number}", f"{what} {key}")
        log += worker.log()
        self.assertNotIn("in memory", log, what)
        for aside in self.folder.glob("*.damaged-*[0-9]"):
            COUNTS["files repaired"] += 1
            self.assertIn(f"the damaged file is {aside}", log)

    def test_damage(self):
        with Worker(self.folder) as worker:
            for closed in (False, True):
                self.fresh()
                with Worker(self.folder) as writer:
                    for number in (1, 2):
                        for store in STORES:
                            for key, size in self.KEYS.items():
                                self.assertEqual(writer.ask("write", store, key, number, size), "0")
                    if closed:
                        writer.ask("close")
                        for name in STORES.values():
                            self.assertEqual(Path(self.folder, f"{name}-wal").stat().st_size, 0, "former values")
                kept = Path(self.parent.name, f"kept-{closed}")
                shutil.copytree(self.folder, kept)
                for name in ("defaults.sqlite", "defaults.sqlite-wal", "keychain.sqlite", "keychain.sqlite-wal",
                             "keychain.key"):
                    original = Path(kept, name).read_bytes()
                    # Header and schema are where one bit does most harm.
                    areas = [range(min(100, len(original))), range(len(original))]
                    if closed and name.endswith(".sqlite"):
                        areas.append(range(3600, 4096))
                    offsets = [RANDOM.choice(area) for area in areas if area for _ in range(OPTIONS.offsets)]
                    for what, content in self.damage(original, offsets):
                        worker.ask("close")
                        shutil.rmtree(self.folder)
                        shutil.copytree(kept, self.folder)
                        Path(self.folder, name).write_bytes(content)
                        worker.ask("open", self.folder)
                        COUNTS["damaged files"] += 1
                        self.check(worker, name[0], f"seed {OPTIONS.seed}: {name}, {what}")


    def test_a_repair_without_means_gives_up(self):
        """A file that can't be opened for want of descriptors does not count as unreadable."""
        kept = Path(self.parent.name, "kept")
        with Worker(self.folder) as worker:
            for key in range(40):
                worker.ask("write", "k", f"k{key}", 1, 900)
            worker.ask("close")
        path = Path(self.folder, STORES["k"])
        os.truncate(path, path.stat().st_size - 4096)
        shutil.copytree(self.folder, kept)
        for descriptors in range(4, 24):
            shutil.rmtree(self.folder)
            shutil.copytree(kept, self.folder)
            with Worker(self.folder) as worker:
                resource.prlimit(worker.process.pid, resource.RLIMIT_NOFILE, (descriptors, descriptors))
                worker.ask("read", "k", "k1")
            with Worker(self.folder) as worker:
                found = [worker.ask("read", "k", f"k{key}") for key in range(40)]
                self.assertGreater(found.count("value:1"), 30, f"{descriptors} descriptors: {worker.log()}")
            self.assertEqual(list(self.folder.glob("*.new*")), [])


class Stalls(unittest.TestCase):
    def test_no_call_takes_over_a_second_beside_the_disk(self):
        """Runs last: over all that the others did."""
        self.assertLess(LONGEST["call"][0], 1 + 10 * LONGEST["sync"], LONGEST["call"][1])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--kills", type=int, default=1000)
    parser.add_argument("--offsets", type=int, default=60, help="where a file is damaged, for each of its areas")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32))
    parser.add_argument("--folder", help="where the files go, to try another disk")
    parser.add_argument("worker")
    _, rest = parser.parse_known_args(namespace=OPTIONS)
    RANDOM.seed(OPTIONS.seed)
    print(f"seed {OPTIONS.seed}", flush=True)
    loader = unittest.TestLoader()
    groups = (Kills, Disks, Damage, Contention, Stalls)
    suite = loader.loadTestsFromNames(rest, sys.modules[__name__]) if rest else unittest.TestSuite(
        loader.loadTestsFromTestCase(group) for group in groups)
    result = unittest.TextTestRunner(verbosity=2).run(suite)
    for name, count in COUNTS.items():
        print(f"{count:8} {name}")
    print(f"{LONGEST['call'][0]:8.3f} s longest call ({LONGEST['call'][1]}), "
          f"{LONGEST['sync']:.3f} s longest sync of the disk itself")
    return 0 if result.wasSuccessful() and COUNTS["lost"] == COUNTS["torn"] == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
