#!/usr/bin/env python3
"""What a network, a service or somebody between can do to one exchange, over a raw TLS server for each row: at token
time and at payment time, what leaves, what the host is told and what the ledger keeps.

    wire.py --bin FOLDER --identity FOLDER [ROW ...]
"""

import argparse
import gzip
import json
import os
import random
import re
import shutil
import socket
import ssl
import struct
import subprocess
import sys
import tempfile
import threading
import time
import warnings
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from certificates import Authority

PORT = 1443
# A part of the loopback net of its own: several runs do not meet.
NET = f"127.{random.randrange(2, 250)}.{random.randrange(1, 250)}"
PEAK = 64 * 1024
CANCELLED, SERVER_ERROR = "2525342", "2525345"

# What an exchange comes to: the block's calls, the events after the start, what the ledger lists, and what the payer is
# told where no answer comes: 1 that nothing left, 2 that nobody knows.
ENDS = {
    "token": {
        "unsent": ([], ["TransportError"], 0, 1),
        "lost": ([], ["TransportError"], 0, 2),
        "status": ([[False, SERVER_ERROR]], ["Reported"], 0, 0),
        "unreadable": ([[True, "0"]], ["AnswerUnreadable"], 0, 0),
        "withdrawn": ([], ["Withdrawn", "Reported"], 0, 0),
        "cancelled": ([], ["Withdrawn", "Reported"], 0, 0),
    },
    "payment": {
        "unsent": ([], ["TransportError"], 0, 1),
        "lost": ([], ["TransportError!"], 1, 2),
        "status": ([], ["TransportError!"], 1, 2),
        "unreadable": ([[True, "0"]], ["AnswerUnreadable!", "Reported!"], 1, 0),
        "withdrawn": ([], ["Withdrawn", "Reported"], 0, 0),
        "cancelled": ([], ["Reported!"], 1, 0),
    },
}
# POSTs that may have reached the service; None for one that left and that the server did not wait for.
POSTS = {"unsent": 0, "lost": 1, "status": 1, "unreadable": 1, "withdrawn": 0, "cancelled": 1}


class Peer:
    """A client's connection. `row` counts what came over it."""

    def __init__(self, row, raw):
        self.row, self.raw, self.stream = row, raw, None

    def shake(self, context=None):
        self.stream = (context or self.row.context).wrap_socket(self.raw, server_side=True)

    def read(self):
        """One whole request; True for a POST."""
        data = b""
        while b"\r\n\r\n" not in data:
            more = self.stream.recv(65536)
            if not more:
                return False
            data += more
        head, _, body = data.partition(b"\r\n\r\n")
        length = re.search(rb"content-length: *(\d+)", head.lower())
        while length and len(body) < int(length[1]):
            body += self.stream.recv(65536)
        is_post = head.startswith(b"POST ")
        self.row.count("posts" if is_post else "gets")
        return is_post

    def send(self, *parts):
        for part in parts:
            self.stream.sendall(part if isinstance(part, bytes) else part.encode())

    def reset(self):
        target = self.stream or self.raw
        target.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        target.close()


class Row:
    """`act` plays the service on a connection; None for one that never answers. `ends` names the end in ENDS; `left` is
    how many POSTs have to arrive where that is not what the end says. `echo`: it is asked for the address, too."""

    def __init__(self, name, ends, act=None, certificate="good", left=None, echo=False):
        self.name, self.ends, self.act, self.certificate, self.left, self.echo = name, ends, act, certificate, left, echo
        self.counts, self.lock, self.cancelled = {}, threading.Lock(), threading.Event()

    def copy(self):
        return Row(self.name, self.ends, self.act, self.certificate, self.left, self.echo)

    def is_cancelled(self):
        return self.ends in ("withdrawn", "cancelled")

    def count(self, what):
        with self.lock:
            self.counts[what] = self.counts.get(what, 0) + 1

    def listen(self, address, context):
        self.address, self.context = address, context
        self.listener = socket.create_server((address, PORT), backlog=16 if self.act else 0)
        self.fillers = []
        if self.act:
            threading.Thread(target=self.accept, daemon=True).start()
        else:
            for _ in range(4):  # a full queue: what comes now is never answered
                self.fillers.append(socket.socket())
                self.fillers[-1].setblocking(False)
                self.fillers[-1].connect_ex((address, PORT))

    def accept(self):
        while True:
            try:
                raw, _ = self.listener.accept()
            except OSError:
                return
            self.count("connections")
            threading.Thread(target=self.play, args=(Peer(self, raw),), daemon=True).start()

    def play(self, peer):
        try:
            self.act(peer)
        except (OSError, ValueError) as error:
            self.count(type(error).__name__)
        finally:
            (peer.stream or peer.raw).close()

    def close(self):
        self.listener.close()
        for filler in self.fillers:
            filler.close()


def answering(*parts, then=None):
    """Reads the request and sends `parts`; `then` the connection is closed, or reset, or held."""
    def act(peer):
        peer.shake()
        peer.read()
        peer.send(*parts)
        if then:
            then(peer)
    return act


def unwrapped(peer):
    peer.stream.unwrap()


def cancelled(peer):
    """The payer gives up here, and has for a while."""
    peer.row.cancelled.set()
    time.sleep(0.7)


def held(peer):
    cancelled(peer)
    time.sleep(5)


def before_the_handshake(end):
    def act(peer):
        peer.raw.recv(65536)
        end(peer)
    return act


def slow_handshake(peer):
    cancelled(peer)
    peer.shake()
    peer.read()


def after_the_handshake(end):
    def act(peer):
        peer.shake()
        end(peer)
    return act


def drip(data):
    def act(peer):
        cancelled(peer)
        for byte in data:
            peer.send(bytes([byte]))
            time.sleep(0.5)
    return act


def flood(head, piece, times, tail=""):
    def act(peer):
        peer.shake()
        peer.read()
        peer.send(head)
        for _ in range(times):
            peer.send(piece)
        peer.send(tail)
    return act


def slow_echo(peer):
    peer.shake()
    if not peer.read():
        cancelled(peer)
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n192.0.2.7")


def status(code, *headers):
    return answering(f"HTTP/1.1 {code} No\r\nContent-Length: 2\r\n", *(f"{header}\r\n" for header in headers), "\r\n\"\"")


def only_shakes(peer):
    peer.shake()
    if peer.stream.recv(1):
        peer.row.count("request bytes")


OK = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
LINE = "X-Filler: " + "x" * 8000 + "\r\n"
ELSEWHERE = "Location: https://{0}.250:1443/8/request".format(NET)
BLOCK = b"A" * 65536


def rows():
    yield Row("black hole", "withdrawn")
    yield Row("closed at once", "unsent", lambda peer: None)
    yield Row("reset at once", "unsent", Peer.reset)
    yield Row("reset amid the handshake", "unsent", before_the_handshake(Peer.reset))
    yield Row("closed amid the handshake", "unsent", before_the_handshake(lambda peer: None))
    yield Row("no TLS", "unsent", before_the_handshake(lambda peer: peer.raw.sendall(b"HTTP/1.1 200 OK\r\n\r\n")))
    yield Row("cancelled amid the handshake", "withdrawn", slow_handshake)
    yield Row("cancelled in a handshake without end", "withdrawn", before_the_handshake(held))
    yield Row("cancelled while the address is asked", "withdrawn", slow_echo, echo=True)
    yield Row("reset after the handshake", "lost", after_the_handshake(Peer.reset), left=0)
    yield Row("closed after the handshake", "lost", after_the_handshake(lambda peer: None), left=0)
    yield Row("reset after the request", "lost", answering(then=Peer.reset))
    yield Row("closed after the request", "lost", answering())
    yield Row("closed politely after the request", "lost", answering(then=unwrapped))
    yield Row("reset in the headers", "lost", answering(OK, then=Peer.reset))
    yield Row("closed in the headers", "unreadable", answering(OK))
    yield Row("closed in the status line", "lost", answering("HTTP/1.1 20"))
    yield Row("reset in the body", "lost", answering(OK, "\r\n\"AAAA", then=Peer.reset))
    yield Row("closed in the body, length given", "lost",
              answering(OK, "Content-Length: 90\r\n\r\n\"AAAA", then=unwrapped))
    yield Row("closed in the body, no length", "unreadable", answering(OK, "\r\n\"AAAA", then=unwrapped))
    yield Row("cut in the body, no length", "unreadable", answering(OK, "\r\n\"AAAA"))
    yield Row("cut in a chunk", "lost", answering(OK, "Transfer-Encoding: chunked\r\n\r\n40\r\n\"AAAA", then=unwrapped))
    yield Row("no last chunk", "lost", answering(OK, "Transfer-Encoding: chunked\r\n\r\n4\r\n\"AA\"\r\n", then=unwrapped))
    yield Row("chunk of no size", "lost", answering(OK, "Transfer-Encoding: chunked\r\n\r\nzz\r\n\"AAAA", then=unwrapped))
    yield Row("two lengths", "lost", answering(OK, "Content-Length: 4\r\nContent-Length: 9\r\n\r\n\"AA\"", then=unwrapped))
    yield Row("garbage status line", "lost", answering("\x00\x01 nothing that HTTP knows\r\n\r\n"))
    yield Row("an answer of old", "lost", answering("\"AAAA\""))
    yield Row("twenty megabytes of headers", "lost", flood(OK, LINE, 2500, "\r\n\"\""))
    yield Row("one header of twenty megabytes", "lost", flood(OK + "X: ", "x" * 65536, 320, "\r\n\r\n\"\""))
    yield Row("1xx without end", "lost", flood("", "HTTP/1.1 100 Continue\r\nX-Filler: " + "x" * 4000 + "\r\n\r\n", 5000))
    yield Row("a hundred megabytes", "lost", flood(OK + "Content-Length: 104857600\r\n\r\n", BLOCK, 1600))
    yield Row("a hundred megabytes, no length", "lost", flood(OK + "\r\n", BLOCK, 1600))
    for size, end in ((1 << 20, "unreadable"), ((1 << 20) + 1, "lost")):
        yield Row(f"{size} bytes", end, answering(OK, f"Content-Length: {size}\r\n\r\n", "A" * size))
    bomb = gzip.compress(bytes(1 << 27), 6)
    yield Row("a bomb", "unreadable", answering(OK, "Content-Encoding: gzip\r\n\r\n", bomb, then=unwrapped))
    yield Row("never an answer", "cancelled", answering(then=held))
    yield Row("a byte now and then in the headers", "cancelled", answering(then=drip(b"HTTP/1.1 200 OK")))
    yield Row("a byte now and then in the body", "cancelled", answering(OK, "\r\n", then=drip(b"\"AAAAAAAAAA")))
    for code in (301, 302, 303, 307, 308):
        yield Row(f"{code} to another host", "status", status(code, ELSEWHERE))
    headers = {401: ["WWW-Authenticate: Basic realm=x"], 407: ["Proxy-Authenticate: Basic"], 413: ["Retry-After: 0"],
               429: ["Retry-After: 0"], 503: ["Retry-After: 0"]}
    for code in (201, 204, 206, 400, 401, 403, 404, 407, 408, 413, 417, 421, 425, 429, 500, 502, 503, 504):
        yield Row(f"HTTP {code}", "status", status(code, *headers.get(code, [])))
    for name in ("unknown issuer", "wrong host", "expired", "not yet valid", "TLS 1.1 only", "the system's own root"):
        yield Row(name, "unsent", only_shakes, certificate=name, echo=name == "the system's own root")


class Wire:
    def __init__(self, options, folder):
        self.host, self.folder = f"{options.bin}/kelpay-fault-host", Path(folder)
        self.addresses = [f"{NET}.{last}" for last in range(1, 240)]
        service = Authority(folder, "service")
        stranger = Authority(folder, "stranger")
        issued = {
            "good": service.issue("good", self.addresses),
            "unknown issuer": stranger.issue("stranger", self.addresses),
            "wrong host": service.issue("wrong", [f"{NET}.251"]),
            "expired": service.issue("expired", self.addresses, end="20210101000000Z"),
            "not yet valid": service.issue("early", self.addresses, start="20980101000000Z"),
        }
        issued["TLS 1.1 only"] = issued["good"]
        issued["the system's own root"] = issued["unknown issuer"]
        self.contexts = {}
        for name, path in issued.items():
            self.contexts[name] = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.contexts[name].load_cert_chain(path)
        warnings.simplefilter("ignore", DeprecationWarning)
        old = self.contexts["TLS 1.1 only"]
        old.set_ciphers("ALL:@SECLEVEL=0")
        old.minimum_version, old.maximum_version = ssl.TLSVersion.TLSv1, ssl.TLSVersion.TLSv1_1
        resources = self.folder / "resources"
        resources.mkdir()
        shutil.copy(Path(options.identity, "IOSNewCert.pfx"), resources)
        shutil.copy(service.root, resources / "service-anchors.pem")
        self.env = {key: value for key, value in os.environ.items() if "proxy" not in key.lower()} | {
            "KELPAY_RESOURCES": str(resources), "LANG": "C.UTF-8", "ASAN_OPTIONS": "detect_leaks=0"}
        # A store of a system that trusts the stranger, as a file and as a folder.
        self.store = self.folder / "store"
        self.store.mkdir()
        shutil.copy(stranger.root, self.store / "ca-certificates.crt")
        digest = subprocess.check_output(["openssl", "x509", "-hash", "-noout", "-in", stranger.root], text=True)
        shutil.copy(stranger.root, self.store / f"{digest.strip()}.0")

    def speaks_old_tls(self):
        """Whether its row can fail: somebody who takes TLS 1.1 gets it."""
        client = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        client.check_hostname, client.verify_mode = False, ssl.CERT_NONE
        client.set_ciphers("ALL:@SECLEVEL=0")
        client.minimum_version = ssl.TLSVersion.TLSv1_1
        row = Row("old", "", only_shakes)
        row.listen(self.addresses[-4], self.contexts["TLS 1.1 only"])
        try:
            with client.wrap_socket(socket.create_connection((row.address, PORT))) as stream:
                return stream.version() == "TLSv1.1"
        except ssl.SSLError:
            return False

    def command(self, row, kind):
        command = [self.host, kind]
        if row.certificate != "the system's own root":
            return command
        mount = f"mount --bind {self.store} /etc/ssl/certs && exec \"$0\" \"$@\""
        return ["unshare", "-Urm", "sh", "-c", mount, *command]

    @staticmethod
    def host_of(row, command, env):
        """What became of the host's process. Where the row is one of a payer's who gives up, its input ends then."""
        with subprocess.Popen(command, env=env, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True) as process:
            if row.is_cancelled():
                row.cancelled.wait(20 if row.act else 1.5)
            else:
                process.wait(30)
            out, err = process.communicate(timeout=30)
        return subprocess.CompletedProcess(command, process.returncode, out, err)

    def run(self, job):
        number, row, kind = job
        row = row.copy()
        row.listen(self.addresses[number], self.contexts[row.certificate])
        echo = None
        if row.certificate == "the system's own root":
            echo = Row("echo", "", answering("HTTP/1.1 200 OK\r\n\r\n192.0.2.7"))
            echo.listen(self.addresses[-1 if kind == "token" else -2], row.context)
        address = echo.address if echo else row.address if row.echo else f"{NET}.252"
        state = self.folder / f"{number}"
        env = self.env | {"XDG_DATA_HOME": str(state), "KELPAY_SERVICE_HOST": row.address,
                          "KELPAY_IP_ECHO": f"https://{address}:{PORT}/"}
        started = time.monotonic()
        done = self.host_of(row, self.command(row, kind), env)
        took = time.monotonic() - started
        time.sleep(0.05)
        row.close()
        if echo:
            echo.close()
            row.counts["gets"] = echo.counts.get("gets", 0)
        return row, kind, done, took

    def gate(self):
        """One payment at a time over all processes, until its process is no more."""
        row = Row("gate", "cancelled", answering(then=held))
        row.listen(self.addresses[-3], self.contexts["good"])
        env = self.env | {"XDG_DATA_HOME": str(self.folder / "gate"), "KELPAY_SERVICE_HOST": row.address,
                          "KELPAY_IP_ECHO": f"https://{NET}.252:{PORT}/"}
        command = [self.host, "payment"]
        with subprocess.Popen(command, env=env, stdin=subprocess.PIPE, stderr=subprocess.DEVNULL) as holder:
            row.cancelled.wait(20)
            second = subprocess.run(command, env=env, stdin=subprocess.PIPE, capture_output=True, text=True)
            holder.kill()
        row.cancelled.clear()
        if json.loads(second.stdout)["events"] != ["Refused"] or row.counts["posts"] != 1:
            yield f"a second process pays: {second.stdout}"
        third = self.host_of(row, command, env)
        so = json.loads(third.stdout)
        if so["events"][:2] != ["Started", "Submitted"] or so["listed"] != 2:
            yield f"the third doesn't, or forgets the first: {so}"

    def limits(self):
        """A list and an echo come whole up to their bound, and not at all beyond it."""
        cases = [(kind, size, bound) for kind, bound in (("list", 8 << 20), ("echo", 256)) for size in (bound, bound + 1)]
        for address, (kind, size, bound) in zip(self.addresses[-8:], cases):
            row = Row(kind, "", answering("HTTP/1.1 200 OK\r\n\r\n", "7" * size))
            row.listen(address, self.contexts["good"])
            env = self.env | {"XDG_DATA_HOME": str(self.folder / "limits"), "KELPAY_SERVICE_HOST": row.address}
            came = int(subprocess.check_output([self.host, kind, f"https://{address}:{PORT}/"], env=env))
            row.close()
            if came != (size if size == bound else -1):
                yield f"a {kind} of {size} bytes: {came} came"

    @staticmethod
    def faults(row, kind, done, took):
        if done.returncode:
            yield f"ended with {done.returncode}: {done.stderr}"
            return
        so = json.loads(done.stdout)
        called, events, listed, silence = ENDS[kind][row.ends]
        started = ["Started", "TokenAsked" if kind == "token" else "Submitted"]
        if kind == "token" and row.echo and row.is_cancelled():
            started.pop()  # withdrawn before it was asked
        # The last one, once nothing is on its way any more; a process that ends first doesn't see it.
        heard = [event for event in so["events"] if event.rstrip("!") != "Ended"]
        if len(so["events"]) > len(heard) + 1:
            yield f"ends twice: {so['events']}"
        posts = POSTS[row.ends] if row.left is None else row.left
        table = {"calls": (so["called"], called), "events": (heard, started + events),
                 "listed": (so["listed"], listed), "silence": (so["silence"], silence), "POSTs": (row.counts.get("posts", 0), posts),
                 "bytes before trust": (row.counts.get("request bytes", 0), 0)}
        for name, (is_so, owed) in table.items():
            if is_so != owed:
                yield f"{name}: {is_so}, not {owed}"
        if so["peak"] > PEAK:
            yield f"took {so['peak']} kB"
        if took > 12:
            yield f"took {took:.1f} s"
        if row.certificate == "the system's own root" and not row.counts["gets"]:
            yield "the system's store doesn't trust it, so the row says nothing"
        if re.search(r"6037991234567893|12345", done.stderr + done.stdout):
            yield f"logs a secret: {done.stderr}"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", required=True)
    parser.add_argument("--identity", required=True)
    parser.add_argument("rows", nargs="*")
    options = parser.parse_args()
    may_unshare = subprocess.run(["unshare", "-Urm", "true"], capture_output=True).returncode == 0
    wanted = [row for row in rows() if not options.rows or row.name in options.rows]
    if not may_unshare:
        wanted = [row for row in wanted if row.certificate != "the system's own root"]
        print("without the row of the system's own root: no namespaces here")
    failed = 0
    with tempfile.TemporaryDirectory(prefix="kelpay-wire-") as folder:
        wire = Wire(options, folder)
        elsewhere = Row("elsewhere", "", lambda peer: peer.row.count("visits"))
        elsewhere.listen(f"{NET}.250", wire.contexts["good"])
        jobs = [(number, row, kind) for number, (row, kind) in
                enumerate((row, kind) for row in wanted for kind in ("token", "payment"))]
        with ThreadPoolExecutor(8) as pool:
            results = list(pool.map(wire.run, jobs))
        for row, kind, done, took in results:
            for fault in wire.faults(row, kind, done, took):
                failed += 1
                print(f"{row.name}, {kind}: {fault}; {row.counts}; {done.stderr.strip()}")
        if not wire.speaks_old_tls():
            failed += 1
            print("no TLS 1.1 here: its row says nothing")
        for fault in (*wire.gate(), *wire.limits()):
            failed += 1
            print(fault)
        if elsewhere.counts:
            failed += 1
            print(f"a redirect was followed: {elsewhere.counts}")
        peak = max((json.loads(done.stdout)["peak"] for _, _, done, _ in results if done.stdout), default=0)
    print(f"{len(results)} exchanges over {len(wanted)} rows, {failed} faults; at most {peak} kB, "
          f"{max(took for *_, took in results):.1f} s")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
