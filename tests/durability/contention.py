"""The stores beside other processes; run by durability.py."""

import contextlib
import os
import signal
import sqlite3
import time
from pathlib import Path

from worker import COUNTS, NOT_AVAILABLE, RANDOM, STORES, Folder, Worker


class Contention(Folder):
    """Several processes at once, and one that hangs."""

    def test_nothing_is_lost_between_processes(self):
        processes, rounds = 3, 200
        workers = [Worker(self.folder) for _ in range(processes)]
        for number, worker in enumerate(workers):
            self.addCleanup(worker.__exit__)
            worker.start("increment", "counter", rounds)
            for step in range(rounds // 10):
                worker.start("write", "k", f"own{number}-{step}", step + 1, 300)
                worker.start("write", "k", "shared", 1000 * number + step, 9_000)
                worker.start("write", "d", "shared", 1000 * number + step, 9_000)
        for worker in workers:
            worker.answer("increment", isTimed=False)
            for _ in range(rounds // 10):
                for what in ("own", "shared", "shared defaults"):
                    self.assertEqual(worker.answer(what), "0", worker.log())
            self.assertEqual(worker.log(), "")
        reader = workers[0]
        for number in range(processes):
            for step in range(rounds // 10):
                self.assertEqual(reader.ask("read", "k", f"own{number}-{step}"), f"value:{step + 1}")
        for store in STORES:
            self.assertRegex(reader.ask("read", store, "shared"), "^value:")
        self.assertEqual(reader.ask("increment", "counter", 1), str(processes * rounds + 1))
        COUNTS["increments"] += processes * rounds

    def test_several_processes_meet_a_damaged_file(self):
        for _ in range(5):
            self.fresh()
            with Worker(self.folder) as worker:
                for store in STORES:
                    for key in range(40):
                        worker.ask("write", store, f"k{key}", 1, 900)
                worker.ask("close")
            for name in STORES.values():
                os.truncate(Path(self.folder, name), Path(self.folder, name).stat().st_size - 4096)
            workers = [Worker(self.folder) for _ in range(3)]
            for number, worker in enumerate(workers):
                self.addCleanup(worker.__exit__)
                for store in STORES:
                    worker.start("write", store, f"new{number}", number, 900)
            for worker in workers:
                for store in STORES:
                    self.assertEqual(worker.answer("a write to a damaged file"), "0", worker.log())
            for store, name in STORES.items():
                self.assertEqual(len(list(self.folder.glob(f"{name}.damaged-*[0-9]"))), 1)
                for number in range(3):
                    self.assertEqual(workers[0].ask("read", store, f"new{number}"), f"value:{number}")
                kept = [workers[1].ask("read", store, f"k{key}") for key in range(40)].count("value:1")
                self.assertGreater(kept, 30, "what could be read was kept")

    def test_no_repair_takes_a_write_from_another_process(self):
        def cut(content):
            return content[:-4096]

        def without_a_page(content):
            return content[:-8192] + bytes(4096) + content[-4096:]

        for damaged in (cut, without_a_page):
            self.fresh()
            with Worker(self.folder) as worker:
                for key in range(40):
                    worker.ask("write", "k", f"k{key}", 1, 900)
                worker.ask("close")
                path = Path(self.folder, STORES["k"])
                with contextlib.closing(sqlite3.connect(path, isolation_level=None)) as writer:
                    writer.execute("BEGIN IMMEDIATE")
                    writer.execute("UPDATE items SET label = 'changed' WHERE id = 1")
                    content = damaged(path.read_bytes())
                    with open(path, "r+b") as file:
                        file.write(content)
                        file.truncate()
                    worker.ask("open", self.folder)
                    self.assertEqual(worker.ask("read", "k", "k1"), "value:1")
                    self.assertIn(f"{path} is damaged and another process writes to it", worker.log())
                    writer.execute("COMMIT")
                self.assertEqual(worker.ask("read", "k", "k1"), "value:1")
                self.assertIn("was damaged and is made anew", worker.log())
                with contextlib.closing(sqlite3.connect(path)) as reader:
                    self.assertEqual(reader.execute("SELECT label FROM items WHERE id = 1").fetchall(), [("changed",)])

    def test_a_write_that_waits_while_another_process_repairs_is_not_lost(self):
        with Worker(self.folder) as worker:
            for store, name in STORES.items():
                worker.ask("write", store, "a", 1, 100)
                worker.ask("write", store, "b", 1, 100)
                for call in ("write", store, "a", 2, 100), ("remove", store, "b"), ("write", store, "c", 2, 100):
                    path = Path(self.folder, name)
                    repairer = sqlite3.connect(path, isolation_level=None)
                    repairer.execute("BEGIN IMMEDIATE")
                    worker.start(*call)
                    time.sleep(0.2)  # it waits for the lock now
                    with contextlib.closing(sqlite3.connect(f"{path}.new")) as fresh, \
                            contextlib.closing(sqlite3.connect(path)) as source:
                        source.backup(fresh)
                        fresh.execute("PRAGMA journal_mode=DELETE")
                    for suffix in ("-wal", "-shm"):
                        Path(f"{path}{suffix}").unlink(missing_ok=True)
                    Path(f"{path}.new").rename(path)
                    repairer.close()
                    self.assertEqual(worker.answer(call), "0", worker.log())
                found = [worker.ask("read", store, key) for key in "abc"]
                self.assertEqual(found, ["value:2", "absent", "value:2"], store)

    def test_a_hanging_writer_stalls_nobody(self):
        with Worker(self.folder) as worker:
            for store in STORES:
                worker.ask("write", store, "a", 1, 100)
            holders = [sqlite3.connect(Path(self.folder, name), isolation_level=None) for name in STORES.values()]
            for holder in holders:
                holder.execute("BEGIN IMMEDIATE")
            start = time.monotonic()
            for number in range(2, 12):
                worker.ask("write", "d", f"k{number}", number, 100)
            self.assertLess(time.monotonic() - start, 1.5, "all defaults together")
            log = worker.log()
            self.assertIn(f"{self.folder}/defaults.sqlite can't be written", log)
            self.assertIn("another process holds it", log)
            self.assertEqual(worker.ask("write", "k", "a", 2, 100), NOT_AVAILABLE)
            self.assertIn("another process holds it", worker.log())
            for store in STORES:
                self.assertEqual(worker.ask("read", store, "a"), "value:1")
            for holder in holders:
                holder.close()
            for store in STORES:
                self.assertEqual(worker.ask("write", store, "a", 3, 100), "0")
            worker.ask("open", self.folder)
            for number in range(2, 12):
                self.assertEqual(worker.ask("read", "d", f"k{number}"), f"value:{number}")

    def test_a_file_that_cannot_be_opened_stalls_nobody(self):
        with Worker(self.folder) as worker:
            for key in range(5):
                worker.ask("write", "d", f"k{key}", 1, 100)
            worker.ask("close")
            with contextlib.closing(sqlite3.connect(Path(self.folder, STORES["d"]), isolation_level=None)) as holder:
                holder.execute("PRAGMA locking_mode=EXCLUSIVE")
                holder.execute("BEGIN EXCLUSIVE")
                worker.ask("open", self.folder)
                start = time.monotonic()
                for key in range(5):
                    worker.ask("read", "d", f"k{key}")
                    worker.ask("write", "d", f"k{key + 10}", 2, 100)
                self.assertLess(time.monotonic() - start, 1.5, "all calls together")
            for key in range(5):
                self.assertEqual(worker.ask("read", "d", f"k{key}"), "value:1", "the next read opens it")
            worker.ask("write", "d", "k0", 3, 100)
            worker.ask("open", self.folder)
            found = [worker.ask("read", "d", f"k{key}") for key in (0, 1, 10, 14)]
            self.assertEqual(found, ["value:3", "value:1", "value:2", "value:2"])

    def test_a_stopped_process_stalls_nobody(self):
        for _ in range(5):
            with Worker(self.folder) as stopped, Worker(self.folder) as worker:
                stopped.start("loop", RANDOM.randrange(1, 1 << 31), 1)
                time.sleep(RANDOM.uniform(0.01, 0.1))
                stopped.process.send_signal(signal.SIGSTOP)
                for store in STORES:
                    self.assertIn(worker.ask("write", store, "a", 1, 100), {"0", NOT_AVAILABLE})
                stopped.process.kill()
                for store in STORES:
                    self.assertEqual(worker.ask("write", store, "a", 2, 100), "0", worker.log())
