#!/usr/bin/env python3
"""Installs a sandbox build, builds the hosts of tests/consumers and examples/ from what was installed alone, and has each
take a payment: it ends with 0 when the payment was made.

    run.py SOURCE BUILD CMAKE EMBEDDED    EMBEDDED: a build of tests/consumers/embedded; left out where it isn't there
    run.py SOURCE - CMAKE EMBEDDED        with the KelPay that is installed in /usr
"""

import importlib.util
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

source, build, cmake = sys.argv[1:4]
embedded = Path(sys.argv[4], "bin")
faults = []


def run(*command, **keywords):
    """What the command prints on standard output; a fault where it fails."""
    keywords = {"capture_output": True, "text": True, "timeout": 200} | keywords
    try:
        done = subprocess.run([str(word) for word in command], **keywords)
    except subprocess.TimeoutExpired as late:
        faults.append(f"{Path(command[0]).name}: no end; {late.stderr}")
        return ""
    if done.returncode != 0:
        faults.append(f"{Path(command[0]).name} {command[-1]}: {done.returncode}\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    return done.stdout


def service_on_a_free_address(program, identity):
    for last in range(20, 1, -1):
        host = f"127.0.0.{last}"
        service = subprocess.Popen([program, "--host", host, "--identity", identity, "--die-with-parent"],
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        if "listens on" in service.stdout.readline():
            return service, host
    sys.exit("no loopback address is free")


def qt(variable):
    return run("qmake6", "-query", variable).strip()


def library(prefix):
    (package,) = prefix.rglob("kelpay.pc")
    return package.parent.parent


def built_from(prefix, scratch):
    """The folder with the hosts' programs."""
    hosts = scratch / "hosts"
    if build != "-":
        run(cmake, "--install", build, "--prefix", prefix)
    run(cmake, "-S", Path(source, "tests/consumers"), "-B", hosts, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={prefix}")
    run(cmake, "--build", hosts)
    pkg_config = os.environ | {"PKG_CONFIG_PATH": str(library(prefix) / "pkgconfig")}
    flags = run("pkg-config", "--cflags", "--libs", "kelpay", env=pkg_config).split()
    run("c++", "-std=c++20", "-fPIC", Path(source, "examples/minimal/main.cpp"), "-Wl,--as-needed", *flags,
        f"-Wl,-rpath,{library(prefix)}", "-o", hosts / "kelpay-pkg-config")
    return hosts


def lint(prefix, scratch):
    """The module's description knows what the host calls, and what it misspells."""
    (description,) = prefix.rglob("KelPay.qmltypes")
    for change in ("", "1"):
        host = scratch / "Main.qml"
        host.write_text(Path(source, "examples/qml/main.qml").read_text().replace("merchantId:", f"merchantId{change}:"))
        done = subprocess.run([f"{qt('QT_HOST_BINS')}/qmllint", "-I", description.parent.parent, host], capture_output=True, text=True)
        if ("merchantId1" in done.stderr) != bool(change) or (not change and done.stderr):
            faults.append(f"qmllint: {done.stderr}")


def pay(prefix, hosts, scratch):
    service_program = prefix / "bin/kelpay-sandbox"
    identity = scratch / "identity"
    run(service_program, "--make-identity", identity)
    service, host = service_on_a_free_address(service_program, identity)
    env = {key: value for key, value in os.environ.items() if not key.startswith(("DISPLAY", "WAYLAND", "LC_", "LANG"))} | {
        "KELPAY_SERVICE_HOST": host, "KELPAY_IP_ECHO": f"https://{host}:1443/", "KELPAY_RESOURCES": str(identity),
        "KELPAY_SANDBOX_PROGRAM": str(service_program), "LANG": "C.UTF-8", "QT_QPA_PLATFORM": "offscreen",
        "QT_QUICK_BACKEND": "software", "DBUS_SESSION_BUS_ADDRESS": "disabled:", "XDG_DATA_HOME": str(scratch / "state")}
    # It waits for a minute.
    waiting = subprocess.Popen([hosts / "facade_test"], env=env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    payer = {"QT_PLUGIN_PATH": str(hosts), "QT_QPA_GENERIC_PLUGINS": "payer"}
    table = [(hosts / "kelpay-minimal", {}), (hosts / "kelpay-pkg-config", {}),
             (hosts / "kelpay-qml", {"PAYER_PRESSES_SPACE": "1"}), (hosts / "kelpay-widgets", {"PAYER_PRESSES_SPACE": "1"})]
    if embedded.is_dir():
        table += [(embedded / "embedded-minimal", {}), (embedded / "embedded-qml", {"PAYER_PRESSES_SPACE": "1"})]
    for program, keys in table:
        started = time.monotonic()
        run(program, env=env | payer | keys, timeout=60)
        print(f"{program.name}: {time.monotonic() - started:.1f} s")
    # No host at all: Qt's own runtime, which brings the library as a plugin on a thread of its own; and a host in Python.
    # Where the packages are installed, both find it by themselves.
    (module,) = prefix.rglob("libkelpayplugin.so")
    main = Path(source, "examples/qml/main.qml")
    imports, found = [], {}
    if build != "-":
        imports, found = [module.parent.parent], {"LD_LIBRARY_PATH": str(library(prefix))}
    runtimes = [[f"{qt('QT_HOST_BINS')}/qml", *(word for path in imports for word in ("-I", path)), main]]
    if importlib.util.find_spec("PySide6"):
        runtimes.append([sys.executable, Path(source, "tests/consumers/pyside/main.py"), main, *imports])
    for runtime in runtimes:
        log = run(*runtime, env=env | payer | found | {"PAYER_PRESSES_SPACE": "1"}, timeout=60,
                  capture_output=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        print(f"{Path(runtime[0]).name}: {log.strip().splitlines()[-1] if log.strip() else 'no word'}")
        if "different thread" in log or log.count("this is a sandbox build of KelPay") != 1:
            faults.append(f"{Path(runtime[0]).name}: {log}")
    service.terminate()
    if build != "-":
        # The hosts again, as the quick start has them built, and a host's own test.
        run(Path(source, "scripts/docs"), prefix, hosts)
    waiting.wait(100)
    if waiting.returncode != 0:
        faults.append(waiting.stdout.read())


started = time.monotonic()
with tempfile.TemporaryDirectory(prefix="kelpay-consumers-") as folder:
    scratch = Path(folder)
    prefix = Path("/usr") if build == "-" else scratch / "prefix"
    hosts = built_from(prefix, scratch)
    print(f"built after {time.monotonic() - started:.1f} s")
    if not faults:
        if build != "-":
            lint(prefix, scratch)
        pay(prefix, hosts, scratch)
print("\n".join(faults) or f"every host paid, {time.monotonic() - started:.1f} s in all")
sys.exit(1 if faults else 0)
